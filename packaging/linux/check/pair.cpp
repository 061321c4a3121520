// pair ARCHIVE: simulates a transmitter and a headset on the kernel's HID bus, and a laptop's lid. Writes a
// firmware archive for both devices to the file ARCHIVE. Reads commands from the standard input, one per
// line. The commands are those of CommandedPair, and "close" and "open" for the lid.
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "archivebuilder.h"
#include "commandedpair.h"
#include "uhidbus.h"

namespace {

/// Adds an open lid to the computer: an input device with a lid switch.
/// @return the descriptor of the new input device. The device exists until the program ends.
int addLid()
{
    const int file = ::open("/dev/uinput", O_WRONLY | O_CLOEXEC);
    uinput_setup setup = {};
    std::strcpy(setup.name, "Lid Switch");
    setup.id.bustype = BUS_HOST;
    ::ioctl(file, UI_SET_EVBIT, EV_SW);
    ::ioctl(file, UI_SET_SWBIT, SW_LID);
    ::ioctl(file, UI_DEV_SETUP, &setup);
    ::ioctl(file, UI_DEV_CREATE);
    return file;
}

/// Closes or opens the lid. @p file is the descriptor that addLid() returned.
/// @return false if @p command is neither "close" nor "open", or if the kernel refuses the change.
bool moveLid(int file, const std::string& command)
{
    if (command != "close" && command != "open")
        return false;
    input_event events[2] = {};
    events[0].type = EV_SW;
    events[0].code = SW_LID;
    events[0].value = command == "close" ? 1 : 0;
    events[1].type = EV_SYN;
    events[1].code = SYN_REPORT;
    return ::write(file, events, sizeof(events)) == static_cast<ssize_t>(sizeof(events));
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string obstacle = UhidBus::obstacle();
    if (argc != 2 || !obstacle.empty()) {
        report(argc != 2 ? "usage: pair ARCHIVE" : obstacle);
        return 1;
    }
    constexpr std::size_t imageBytes = 131072; // so large that user.sh has time to act during the update
    UhidBus bus;
    CommandedPair pair(bus, 1, 12, 2, imageBytes);
    if (!ArchiveBuilder::write(
            QString::fromLocal8Bit(argv[1]),
            ArchiveBuilder::release(pair.transmitter.image, pair.headset.image, "Notes"))) {
        report("the archive cannot be written");
        return 1;
    }
    const int lid = addLid();
    std::string command;
    while (std::getline(std::cin, command))
        report((pair.execute(command) || moveLid(lid, command) ? "done: " : "failed: ") + command);
    return 0;
}
