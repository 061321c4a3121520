#pragma once

#include <windows.h>

#include <QObject>

class QKeyEvent;
class QWidget;

/// Keeps a key that the user meant for one screen from pressing a button of the next: neither a key that is
/// held nor one within half a second of a screen's appearance presses anything. While the object lives, it
/// covers every window of the program except menus. GUI thread only.
class KeyGuard : public QObject
{
public:
    explicit KeyGuard(QObject* parent);

    /// Call when a window shows another page; the guard notices by itself when a window opens.
    void noteNewScreen();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool mayPress(const QKeyEvent& key) const;

    DWORD newScreenTick;
};
