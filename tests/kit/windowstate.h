#pragma once

#include <algorithm>

#include <QAbstractButton>
#include <QAccessible>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QStyle>

#include "literals.h"

/// Describes in text what a window shows to a user and offers to a screen reader. Faults that no screen may
/// have, such as overlapping widgets, are not described here. oddities() reports these faults.
namespace WindowState {

inline QString accessibleText(const QWidget* widget, QAccessible::Text kind)
{
    const auto* const accessible = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(widget));
    return accessible ? accessible->text(kind) : QString();
}

/// @return the text of @p label, preceded by marks for its style: "~" for amber, "!" for crimson, "?" for the
/// tool tip that explains the amber colour, "*" for italics.
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

/// @return the name of the picture that @p label shows; "" if it shows no picture.
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

/// @return the background of @p label: the most frequent colour in the area of the label's text.
inline QColor backgroundOf(const QLabel& label)
{
    const QPixmap pixmap = const_cast<QLabel&>(label).grab();
    const QImage picture = pixmap.toImage().scaled(pixmap.size() / pixmap.devicePixelRatio());
    const int flags = int(label.alignment()) | (label.wordWrap() ? Qt::TextWordWrap : 0);
    const QRect area =
        label.style()
            ->itemTextRect(label.fontMetrics(), label.contentsRect(), flags, true, label.text())
            .intersected(picture.rect());
    QHash<QRgb, int> counts;
    QRgb most = 0;
    for (int y = area.top(); y <= area.bottom(); y += 2) { // every second pixel is enough
        for (int x = area.left(); x <= area.right(); x += 2) {
            const QRgb colour = picture.pixel(x, y);
            if (++counts[colour] > counts.value(most))
                most = colour;
        }
    }
    return QColor(most);
}

/// @return the size that the texts or the picture of @p widget need.
inline QSize neededSize(const QWidget& widget)
{
    const auto widthOf = [&widget](const QString& text) {
        return widget.fontMetrics().horizontalAdvance(text);
    };
    if (const auto* const button = qobject_cast<const QPushButton*>(&widget))
        return button->sizeHint();
    if (const auto* const box = qobject_cast<const QGroupBox*>(&widget))
        return {widthOf(box->title()), 0};
    if (const auto* const bar = qobject_cast<const QStatusBar*>(&widget))
        return {widthOf(bar->currentMessage()) + bar->findChild<QProgressBar*>()->width(), 0};
    const auto* const label = qobject_cast<const QLabel*>(&widget);
    const QPixmap picture = label ? label->pixmap(Qt::ReturnByValue) : QPixmap();
    if (!label || !picture.isNull())
        return picture.size() / picture.devicePixelRatio();
    if (label->text().isEmpty() || !label->wordWrap())
        return label->text().isEmpty() ? QSize() : label->minimumSizeHint();
    QSize needed(0, label->heightForWidth(label->width()));
    for (const QString& word : label->text().split(QRegularExpression("[\\s/-]"_s)))
        needed.setWidth(std::max(needed.width(), widthOf(word)));
    return needed;
}

/// @return whether @p widget needs a name for screen readers but has none.
inline bool isNameless(const QWidget& widget)
{
    if (qobject_cast<const QProgressBar*>(&widget)) // if a bar has no name, Qt reports its value instead
        return widget.accessibleName().isEmpty();
    const auto* const label = qobject_cast<const QLabel*>(&widget);
    const bool isPicture = label && label->text().isEmpty() && !label->pixmap(Qt::ReturnByValue).isNull();
    const bool needsName =
        (widget.focusPolicy() & Qt::TabFocus) || (isPicture && !widget.window()->inherits("QMessageBox"));
    return needsName && accessibleText(&widget, QAccessible::Name).isEmpty();
}

inline QStringList odditiesOf(const QLabel& label)
{
    QStringList odd;
    if (label.text().isEmpty())
        return odd;
    if (accessibleText(&label, QAccessible::Name) != label.text())
        odd << "named "_s + accessibleText(&label, QAccessible::Name);
    if (accessibleText(&label, QAccessible::Description) != label.toolTip())
        odd << "described otherwise than by its tool tip"_s;
    const QPalette desktop = label.parentWidget()->palette();
    const QColor background = backgroundOf(label);
    const bool hasColour = label.isEnabled() && label.palette().windowText() != desktop.windowText();
    const bool needsBackground = hasColour && desktop.window().color().lightness() > 128;
    if (background == desktop.window().color() ? needsBackground : !hasColour)
        odd << "background "_s + background.name();
    return odd;
}

/// Handles all layout requests that are posted, so that every widget has its final geometry.
inline void layOut()
{
    constexpr int layoutsDeep = 4; // each layout posts a request to the layout that contains it
    for (int i = 0; i < layoutsDeep; ++i)
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
}

/// Reports faults that no screen may have: a wrong geometry, background, accessible name or description of a
/// widget inside @p widget.
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
        const QSize needed = neededSize(one);
        if (one.width() < needed.width() || one.height() < needed.height())
            found << "too small"_s;
        if (const auto* const label = qobject_cast<const QLabel*>(&one))
            found << odditiesOf(*label);
        if (isNameless(one))
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
