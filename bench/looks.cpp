#include "looks.h"

#include <QApplication>
#include <QFont>
#include <QPalette>

void Looks::setFont()
{
    constexpr int usualPoints = 9;
    QFont font = QApplication::font();
    font.setPointSize(usualPoints);
    font.setStyleStrategy(QFont::NoSubpixelAntialias);
    QApplication::setFont(font);
}

QPalette Looks::darkPalette()
{
    const QColor ground(53, 53, 53);
    const QColor field(35, 35, 35);
    const QColor highlight(42, 130, 218);
    QPalette palette(Qt::white, ground, QColor(90, 90, 90), QColor(20, 20, 20), QColor(70, 70, 70), Qt::white,
                     Qt::white, field, ground);
    palette.setColor(QPalette::AlternateBase, ground);
    palette.setColor(QPalette::ToolTipBase, field);
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::Link, highlight);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::black);
    for (const QPalette::ColorRole role : {QPalette::Text, QPalette::ButtonText, QPalette::WindowText})
        palette.setColor(QPalette::Disabled, role, QColor(127, 127, 127));
    return palette;
}
