#pragma once

#include <algorithm>
#include <functional>

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include <windows.h>

#include "waiting.h"
#include "windowstate.h"

/// Waits until a screen that has just opened accepts keys. Uses the simulated computer's clock.
inline void letScreenSettle()
{
    Sleep(500);
}

/// Plays the user: carries out one act after the other, from the event loop, on the modal windows that open.
class User : public QObject
{
public:
    /// Acts on a modal window. If the window is not ready for the act, returns false, and User tries again.
    using Act = std::function<bool(QWidget& modal)>;

    explicit User(std::vector<Act> actsInOrder)
        : acts(std::move(actsInOrder))
    {
        connect(&timer, &QTimer::timeout, this, &User::look);
        watch.start();
        timer.start(1);
    }

    bool isDone() const { return next == acts.size(); }

    /// @return an act that clicks the button with the text @p buttonText as soon as the button is enabled.
    static Act press(const QString& buttonText)
    {
        return [buttonText](QWidget& modal) {
            const auto buttons = modal.findChildren<QAbstractButton*>();
            const auto button =
                std::find_if(buttons.begin(), buttons.end(), [&](const QAbstractButton* candidate) {
                    return candidate->text() == buttonText && candidate->isEnabled();
                });
            if (button == buttons.end())
                return false;
            QTest::mouseClick(*button, Qt::LeftButton);
            return true;
        };
    }
    static Act type(Qt::Key key)
    {
        return [key](QWidget& modal) {
            letScreenSettle();
            return QTest::keyClick(&modal, key), true;
        };
    }

    QStringList boxes; ///< texts and oddities of the message boxes that have opened

private:
    void look()
    {
        QWidget* const modal = QApplication::activeModalWidget();
        if (!modal || isActing)
            return;
        isActing = true;
        if (const auto* const box = qobject_cast<QMessageBox*>(modal); box && box != lastBox) {
            lastBox = modal;
            boxes << QStringList{box->windowTitle(), box->text(), box->informativeText(),
                                 box->defaultButton() ? box->defaultButton()->text() : QString()}
                             .join(QLatin1Char('|')) +
                         WindowState::oddities(*box);
        }
        if (isDone() || watch.elapsed() > patienceMs) {
            boxes << QStringLiteral("nobody acts on: %1").arg(modal->windowTitle());
            modal->close();
        } else if (acts[next](*modal)) {
            ++next;
            watch.restart();
        }
        isActing = false;
    }

    const std::vector<Act> acts;
    std::size_t next = 0;
    bool isActing = false;
    QPointer<QWidget> lastBox;
    QElapsedTimer watch;
    QTimer timer;
};

template <typename Widget = QLabel>
Widget* find(const QWidget& window, const QByteArray& objectName)
{
    return window.findChild<Widget*>(QString::fromLatin1(objectName));
}
