#pragma once

#include <windows.h>

#include <QObject>

class QKeyEvent;
class QWidget;

/// Prevents a key that the user meant for one screen from pressing a button of the next screen. A key that
/// repeats because it is held down presses no button, nor does a key within half a second of a screen's
/// appearance. While the object lives, it covers every window of the program except menus. GUI thread only.
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
