#pragma once

#include <QAction>
#include <QMenu>

#include "archivebuilder.h"
#include "hidnode.h"
#include "infoscreen.h"
#include "literals.h"
#include "mainwindow.h"
#include "pairedcomputer.h"
#include "scriptedhid.h"
#include "simulatedchannel.h"
#include "user.h"
#include "windowstate.h"

/// How long a thread that reads a device sleeps between sending a request and fetching the answer.
constexpr std::uint32_t memoryReadMs = 100;

/// The updater's window, on a computer that has no device plugged in at first.
struct Desk : PairedComputer
{
    explicit Desk(const QByteArray& steps = QByteArray())
    {
        window.show();
        for (const QByteArray& step : steps.split(' '))
            take(step);
    }

    ~Desk() { gate.open(); } // the window's destructor waits for the threads that the gate holds

    /// Carries out one step of a test:
    ///     A1, A2          loads an archive with images for a transmitter of generation 1 or 2 and a headset
    ///     At, Ah          loads an archive with an image for a transmitter only, or for a headset only
    ///     Ax              tries to load a folder as an archive
    ///     +T, -T, +H, -H  plugs the transmitter or the headset in, or unplugs it
    ///     +U, -U, +V      plugs in or unplugs a transmitter (U) or headset (V) that cannot be identified
    ///     PT, PH          switches the transmitter or the headset to programming mode
    ///     O               chooses Override from the system menu
    ///     Tab             presses the Tab key
    void take(const QByteArray& step)
    {
        if (step.startsWith('A')) {
            load(step);
        } else if (step == "O") {
            choose("Override"_s, false);
        } else if (step.startsWith('P')) {
            const DeviceType type = step == "PT" ? Transmitter : Headset;
            enterProgrammingMode(pair.device(type), pair.channelPath(type));
        } else if (step == "Tab") {
            QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        } else if (!step.isEmpty()) {
            plug(step[1], step[0] == '+');
            const bool isHeadset = step[1] == 'H' || step[1] == 'V';
            const char* const label = isHeadset ? "headsetVersion" : "transmitterVersion";
            const bool isGone = step[0] == '-';
            TRY_COMPARE(find(*mainPage, label)->text() == "Disconnected"_s, isGone);
        }
    }

    /// Writes an archive with release notes, an image for a transmitter of @p generation, and, if
    /// @p hasHeadset, an image for a headset. If @p generation is 0, the archive has no image for a
    /// transmitter. All desks share the archives, so each is written only once.
    /// @return the archive's path; empty if writing fails.
    static QString archive(int generation, bool hasHeadset)
    {
        static const QTemporaryDir folders[2]; // indexed by hasHeadset; both have the same file names
        QString path = folders[hasHeadset].filePath("fw.%1.zip"_s.arg(generation));
        if (QFile::exists(path))
            return path;
        std::vector<ArchiveEntry> entries{{"ReleaseNotes.txt"_s, "<b>New</b>\nand better"}};
        const auto add = [&entries](const QString& name, const ImageOptions& image) {
            entries.push_back({name, ArchiveBuilder::imageText(ImageBuilder::build(image))});
        };
        if (generation != 0)
            add("t.ff"_s, ImageBuilder::transmitter(generation));
        if (hasHeadset)
            add("h.ef"_s, ImageBuilder::headset());
        return ArchiveBuilder::write(path, entries) ? path : QString();
    }

    void load(const QByteArray& step)
    {
        const QString path = step == "Ax" ? folder.path()
                                          : archive(step == "Ah"   ? 0
                                                    : step == "A2" ? 2
                                                                   : 1,
                                                    step != "At");
        const char* const failure =
            "Error while loading firmware|Firmware cannot be loaded. File may be corrupted or "
            "not supported.\nTry to download it once again.||";
        QString nameInBox; // the file name that the page shows while the box is open
        User user({[&](QWidget& modal) {
            nameInBox = modal.parentWidget() == &window ? find(*mainPage, "firmwareFileName")->text()
                                                        : "not in front of the window"_s;
            return User::press("OK"_s)(modal);
        }});
        window.setFirmwareFilePath(path);
        QCOMPARE(nameInBox, QString());
        QCOMPARE(user.boxes.join(QString()), text(step == "Ax" ? failure : ""));
    }

    void plug(char letter, bool in)
    {
        if (letter == 'U' || letter == 'V') {
            const auto function = std::make_shared<ScriptedHid>();
            function->answer = [](QByteArray entry) { return entry.replace(1, 1, "\1"); }; // means "no data"
            const HidIdentity identity{0x170D, std::uint16_t(letter == 'U' ? 0x0100 : 0x0101)};
            const DeviceNode node = hidNode(identity, L"unknown", function);
            if (in)
                tree.plug(node);
            else
                tree.unplug(node.interfacePath);
            return;
        }
        SimulatedDevice& device = pair.device(letter == 'T' ? Transmitter : Headset);
        in ? device.plugIn() : device.unplug();
    }

    /// Opens the system menu and chooses @p item in it: by mouse if @p byMouse, otherwise by keyboard.
    /// @return the texts of the menu's items, "-" for a separator.
    QString choose(const QString& item, bool byMouse)
    {
        if (byMouse)
            QTest::mouseClick(window.windowHandle(), Qt::RightButton, {}, QPoint(5, window.height() - 5));
        else
            QTest::keyClick(&window, Qt::Key_Space, Qt::AltModifier);
        auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QStringList items;
        QAction* wanted = nullptr;
        for (QAction* action : menu->actions()) {
            items << (action->isSeparator() ? "-"_s : action->text());
            if (!action->isSeparator() && !byMouse && !wanted)
                QTest::keyClick(menu, Qt::Key_Down);
            if (action->text() == item)
                wanted = action;
        }
        if (byMouse)
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(wanted).center());
        else
            QTest::keyClick(menu, Qt::Key_Return);
        QCoreApplication::processEvents();
        return items.join(QLatin1Char(' '));
    }

    /// Presses Enter on the Update button as soon as the button is enabled. Then a simulated user carries out
    /// @p acts on the windows that open. @return whether the user has carried out all acts.
    bool update(const std::vector<User::Act>& acts)
    {
        auto* const button = find<QPushButton>(*mainPage, "updateButton");
        if (!QTest::qWaitFor([&] { return button->isEnabled(); }, patienceMs))
            return false;
        User user(acts);
        letScreenSettle();
        QTest::keyClick(button, Qt::Key_Return);
        questions = user.boxes;
        return user.isDone();
    }

    InfoScreen* screen() const { return dynamic_cast<InfoScreen*>(window.centralWidget()); }

    /// @return "page|connected|error|transmitter|headset|button@focus", followed by the faults that
    /// oddities() reports. The page is "main" or "start". "start" is followed by its picture's digit ("1" in
    /// "VYNT1-startscreen") and by its buttons. Each device is shown by two versions: "installed>in the
    /// archive". The button is "Update", or "-" if it is disabled.
    QString state() const
    {
        const auto* const error = find(*mainPage, "devicesErrorInfoLabel");
        const auto label = [this](const char* name) { return WindowState::shown(*find(*mainPage, name)); };
        const auto* const button = find<QPushButton>(*mainPage, "updateButton");
        const QString picture = screen() ? WindowState::pictureOf(*find(*screen(), "image")) : QString();
        const QString page = screen() ? "start"_s + picture.mid(4, 1) + screenButtons() : "main"_s;
        return QStringList{page,
                           label("connectedDeviceNameLabel"),
                           error->isHidden() ? QString() : error->text(),
                           label("transmitterVersion") + QLatin1Char('>') +
                               label("transmitterFirmwareVersion"),
                           label("headsetVersion") + QLatin1Char('>') + label("headsetFirmwareVersion"),
                           text(button->isEnabled() ? "Update" : "-") + WindowState::focusOf(window)}
                   .join(QLatin1Char('|')) +
               oddities();
    }

    /// @return the info screen's "title|text|picture Back Close@focus", without buttons that are hidden,
    /// followed by the faults that oddities() reports.
    QString screenState() const
    {
        const QString parts = WindowState::pictureOf(*find(*screen(), "image")) + screenButtons() +
                              WindowState::focusOf(window);
        return QStringList{find(*screen(), "title")->text(), find(*screen(), "text")->text(), parts}.join(
                   QLatin1Char('|')) +
               oddities();
    }

    const QTemporaryDir folder;
    QStringList questions; ///< texts of the message boxes of the last update
    MainWindow window;
    QWidget* const mainPage = findMainPage();

private:
    QString screenButtons() const
    {
        return text(screen()->backButton()->isHidden() ? "" : " Back") +
               text(screen()->closeButton()->isHidden() ? "" : " Close");
    }

    /// @return the faults that WindowState::oddities() reports, followed by a fault for each page whose
    /// descriptions for screen readers differ from the texts on the page.
    QString oddities() const
    {
        const auto shown = [this](const char* name) { return find(*mainPage, name)->text(); };
        const auto described = [](const QWidget& page, const char* button) {
            return find<QPushButton>(page, button)->accessibleDescription();
        };
        QString result = WindowState::oddities(window);
        const bool hasError = !find(*mainPage, "devicesErrorInfoLabel")->isHidden();
        const QString outlook =
            (hasError ? shown("devicesErrorInfoLabel") + QLatin1Char('\n') : QString()) +
            "Current firmware versions on devices:\nTransmitter: %1\nHeadset: %2\n"
            "Devices will be updated to firmware versions:\nTransmitter: %3\nHeadset: %4"_s.arg(
                shown("transmitterVersion"), shown("headsetVersion"), shown("transmitterFirmwareVersion"),
                shown("headsetFirmwareVersion"));
        if (described(*mainPage, "updateButton") != outlook ||
            described(*mainPage, "openFileButton") != shown("firmwareFileName") + QLatin1Char('\n') + outlook)
            result += " {main page described otherwise}"_s;
        if (!screen())
            return result;
        const QString text = find(*screen(), "text")->text();
        if (described(*screen(), "closeButton") != text || described(*screen(), "backButton") != text ||
            find(*screen(), "image")->accessibleName() != find(*screen(), "title")->text())
            result += " {info screen described otherwise}"_s;
        return result;
    }

    /// While the window shows another page, the main page is not in the window, so this searches all widgets.
    static QWidget* findMainPage()
    {
        const QWidgetList all = QApplication::allWidgets();
        return *std::find_if(all.begin(), all.end(),
                             [](const QWidget* widget) { return widget->objectName() == "centralWidget"_s; });
    }
};
