#pragma once

#include <QLabel>

/// Shows the texts of all labels in @p window as they are, even if they look like markup. The texts can come
/// from archives, devices and file names, and a label that treated them as markup would load pictures
/// from anywhere.
inline void showAsPlainText(const QWidget& window)
{
    for (QLabel* const label : window.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
}
