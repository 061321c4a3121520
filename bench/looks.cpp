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
    const QColor background(53, 53, 53);
    const QColor highlight(42, 130, 218);
    QPalette palette(background, background);
    palette.setColor(QPalette::Link, highlight);
    palette.setColor(QPalette::Highlight, highlight);
    return palette;
}
