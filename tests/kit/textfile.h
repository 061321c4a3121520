#pragma once

#include <QFile>

/// The contents of the file @p path; empty if it cannot be read.
inline QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Creates the empty file @p path. @return whether that succeeds.
inline bool makeFile(const QString& path)
{
    return QFile(path).open(QIODevice::WriteOnly);
}
