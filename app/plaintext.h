#pragma once

#include <QLabel>

/// Shows the texts of all labels in @p window as they are, even if they look like markup. Archives, devices
/// and files can have such texts, and a label that takes them for markup would load pictures from anywhere.
inline void showAsPlainText(const QWidget& window)
{
    for (QLabel* const label : window.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
}
