#pragma once

#include <QByteArray>
#include <QStringList>
#include <QTextStream>

namespace ImageTextReference {

/// Decodes an image's text with QString: slow, but close to the definition of the format.
inline QByteArray decode(const QByteArray& text)
{
    QTextStream stream(text);
    stream.setCodec("ISO-8859-1");
    stream.setAutoDetectUnicode(false);
    QByteArray image;
    while (!stream.atEnd()) {
        const QStringList tokens = stream.readLine().trimmed().split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (tokens.isEmpty() || tokens.first().startsWith(QLatin1String("//")))
            continue;
        bool isNumber = false;
        image += static_cast<char>(tokens.first().toInt(&isNumber, 16));
        if (!isNumber)
            return QByteArray();
    }
    return image;
}

} // namespace ImageTextReference
