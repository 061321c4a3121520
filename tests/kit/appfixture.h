#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

#include <QtTest>

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QThreadPool>

#include "archivebuilder.h"
#include "simulatedpair.h"

constexpr int patienceMs = 20000; // for what is waited for, under a sanitizer too
#define TRY_VERIFY(condition) QTRY_VERIFY_WITH_TIMEOUT(condition, patienceMs)
#define TRY_COMPARE(actual, expected) QTRY_COMPARE_WITH_TIMEOUT(actual, expected, patienceMs)

inline QString text(const char* ascii)
{
    return QString::fromLatin1(ascii);
}
inline QString operator""_s(const char* ascii, std::size_t)
{
    return text(ascii);
}

/// Holds a thread in its sleep.
class Gate
{
public:
    /// The next thread that sleeps for @p ms is held until open().
    void close(std::uint32_t ms)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        heldMs = ms;
        reached = false;
        closed = true;
    }
    void open()
    {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            closed = false;
        }
        changed.notify_all();
    }
    bool isReached() const
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return reached;
    }

    void pass(std::uint32_t ms)
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (!closed || reached || ms != heldMs)
            return;
        reached = true;
        changed.wait(lock, [this] { return !closed; });
    }

private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::uint32_t heldMs = 0;
    bool closed = false;
    bool reached = false;
};

constexpr DeviceType bothTypes[] = {DeviceType::Transmitter, DeviceType::Headset};

/// A computer with a transmitter of the first generation and a headset at hand, under virtual time.
class Computer
{
public:
    Computer()
        : images{{Transmitter, ImageBuilder::build(ImageBuilder::transmitter())},
                 {Headset, ImageBuilder::build(ImageBuilder::headset())}}
        , pair(setup())
    {
        auto& clock = dynamic_cast<VirtualClock&>(pair.machine.clock());
        clock.onSleep = [this](std::uint32_t ms) { gate.pass(ms); };
    }
    ~Computer()
    {
        gate.open();
        QThreadPool::globalInstance()->waitForDone();
    }

    bool isUpdated(DeviceType type)
    {
        const std::vector<std::uint8_t> memory = pair.device(type).memory();
        return std::equal(images[type].cbegin(), images[type].cend(), memory.cbegin(),
                          [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
    }

    DWORD audioServiceState() { return pair.machine.serviceManager().state(L"audiosrv"); }

    const QMap<DeviceType, QByteArray> images; ///< to be written into the devices
    QTemporaryDir folder;
    Gate gate;
    std::function<void(const std::string&)> onReport; ///< of the devices, on any thread
    SimulatedPair pair;

private:
    SimulatedPair::Setup setup()
    {
        SimulatedPair::Setup result;
        result.transmitterImage = images[Transmitter];
        result.headsetImage = images[Headset];
        result.report = [this](const std::string& report) {
            if (onReport)
                onReport(report);
        };
        return result;
    }
};

/// Acts for the user on the modal windows that come up, one after the other, from the event loop.
class User : public QObject
{
public:
    /// What is to be done with a modal window; false while it is not time for it.
    using Act = std::function<bool(QWidget& modal)>;

    explicit User(std::vector<Act> actsInOrder)
        : acts(std::move(actsInOrder))
    {
        connect(&timer, &QTimer::timeout, this, &User::look);
        watch.start();
        timer.start(1);
    }

    bool isDone() const { return next == acts.size(); }

    /// Presses a message box's button with the mouse.
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
        return [key](QWidget& modal) { return QTest::keyClick(&modal, key), true; };
    }

    QStringList boxes; ///< what the message boxes said

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
                         .join(QLatin1Char('|'));
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
