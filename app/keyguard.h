#pragma once

#include <windows.h>

#include <QObject>

class QKeyEvent;
class QWidget;

/// Prevents a key that the user meant for one screen from pressing a button of the next screen. Discards two
/// kinds of key presses that would press a button: repeats of a key that is held down, and key presses less
/// than half a second after a screen appeared. While the object lives, it guards every window of the program
/// except menus and tool tips. GUI thread only.
class KeyGuard : public QObject
{
public:
    explicit KeyGuard(QObject* parent);

    /// Call this when a window shows another page. The guard notices by itself when a window opens.
    void noteNewScreen();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool mayPress(const QKeyEvent& key) const;

    DWORD newScreenTick;
};
