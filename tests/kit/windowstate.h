#pragma once

#include <algorithm>

#include <QAbstractButton>
#include <QAccessible>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>

#include "literals.h"

/// Describes in text what a window shows to a user and offers to a screen reader. Features that must be right
/// on every screen are left out. oddities() reports the ones that are wrong.
namespace WindowState {

inline QString accessibleText(const QWidget* widget, QAccessible::Text kind)
{
    const auto* const accessible = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(widget));
    return accessible ? accessible->text(kind) : QString();
}

/// @return the text of @p label after marks for its style: "~" amber, "!" crimson, "?" the tool tip that
/// explains amber, "*" italics.
inline QString shown(const QLabel& label)
{
    const QMap<QString, QString> colours{
        {QString(), QString()}, {"QLabel{color: #E9AB17;}"_s, "~"_s}, {"QLabel{color: crimson;}"_s, "!"_s}};
    const QMap<QString, QString> toolTips{
        {QString(), QString()},
        {"Cannot determine if firmware is compatible with the connected device."_s, "?"_s}};
    return colours.value(label.styleSheet(), "unknown style"_s) +
           toolTips.value(label.toolTip(), "unknown tool tip"_s) + text(label.font().italic() ? "*" : "") +
           label.text();
}

/// The name of the picture that @p label shows, "" if it shows none.
inline QString pictureOf(const QLabel& label)
{
    const QPixmap pixmap = label.pixmap(Qt::ReturnByValue);
    if (label.isHidden() || pixmap.isNull())
        return QString();
    for (const char* const name :
         {"images/VYNT1-startscreen", "images/VYNT2-startscreen", "images/VYNT1-pairinginstructions",
          "images/VYNT2-pairinginstructions", "icons/doneandnext", "icons/process-stop"}) {
        const QIcon icon(":/%1.png"_s.arg(text(name)));
        if (icon.pixmap(pixmap.size()).toImage() == pixmap.toImage())
            return text(name).section(QLatin1Char('/'), 1);
    }
    return "unknown picture"_s;
}

/// @return the background of @p label: the most frequent colour in the area of its text.
inline QColor backgroundOf(const QLabel& label)
{
    const QImage picture = const_cast<QLabel&>(label).grab().toImage();
    const int flags = int(label.alignment()) | (label.wordWrap() ? Qt::TextWordWrap : 0);
    const QRect area =
        label.style()
            ->itemTextRect(label.fontMetrics(), label.contentsRect(), flags, true, label.text())
            .intersected(picture.rect());
    QMap<QRgb, int> counts;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            ++counts[picture.pixel(x, y)];
    }
    QRgb most = 0;
    for (const QRgb colour : counts.keys()) {
        if (counts[colour] > counts[most])
            most = colour;
    }
    return QColor(most);
}

inline QStringList odditiesOf(const QLabel& label)
{
    QStringList odd;
    if (label.text().isEmpty())
        return odd;
    const int height =
        label.wordWrap() ? label.heightForWidth(label.width()) : label.minimumSizeHint().height();
    const int width = label.wordWrap() ? 0 : label.minimumSizeHint().width();
    if (label.width() < width || label.height() < height)
        odd << "too small"_s;
    if (accessibleText(&label, QAccessible::Name) != label.text())
        odd << "named "_s + accessibleText(&label, QAccessible::Name);
    if (accessibleText(&label, QAccessible::Description) != label.toolTip())
        odd << "described otherwise than by its tool tip"_s;
    const QPalette desktop = label.parentWidget()->palette();
    const bool hasColour = label.isEnabled() && label.palette().windowText() != desktop.windowText();
    if ((backgroundOf(label) != desktop.window().color()) != hasColour)
        odd << "background "_s + backgroundOf(label).name();
    return odd;
}

/// Handles all layout requests that are posted, so that every widget has its final geometry.
inline void layOut()
{
    constexpr int layoutsDeep = 4; // each posts a request to the layout that contains it
    for (int i = 0; i < layoutsDeep; ++i)
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
}

/// Reports widgets inside @p widget whose geometry, background, accessible name or description would be wrong
/// on any screen.
inline QString oddities(const QWidget& widget)
{
    layOut();
    QStringList odd;
    const auto children = widget.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    for (auto child = children.begin(); child != children.end(); ++child) {
        const QWidget& one = **child;
        if (!one.isVisible() || one.isWindow() || one.inherits("QAbstractScrollArea"))
            continue;
        QStringList found;
        if (!widget.rect().contains(one.geometry()))
            found << "outside"_s;
        const bool overlaps = std::any_of(std::next(child), children.end(), [&one](const QWidget* other) {
            return other->isVisible() && other->geometry().intersects(one.geometry());
        });
        if (overlaps)
            found << "overlapping"_s;
        if (const auto* const label = qobject_cast<const QLabel*>(&one))
            found << odditiesOf(*label);
        if ((one.focusPolicy() & Qt::TabFocus) && accessibleText(&one, QAccessible::Name).isEmpty())
            found << "nameless"_s;
        for (const QString& oddity : found)
            odd << " {%1 %2}"_s.arg(one.objectName(), oddity);
        odd << oddities(one);
    }
    return odd.join(QString());
}

/// @return "@" and the name of the widget with the focus. If another widget is the default button, "=" and
/// that button's text follow.
inline QString focusOf(const QWidget& window)
{
    const QWidget* const focus = window.focusWidget();
    QString result = focus ? "@"_s + focus->objectName() : QString();
    for (const auto* const button : window.findChildren<QPushButton*>()) {
        if (button->isVisible() && button->isDefault() && button != focus)
            result += "="_s + button->text();
    }
    return result;
}

} // namespace WindowState
