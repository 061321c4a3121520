#pragma once

#include <QLabel>

/// Makes all labels in @p window show their texts unchanged, even if a text looks like markup. The texts can
/// come from archives, devices and file names. A label that treats a text as markup loads the pictures that
/// the text names, from any location.
inline void showAsPlainText(const QWidget& window)
{
    for (QLabel* const label : window.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
}
