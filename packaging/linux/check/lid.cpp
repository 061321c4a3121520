#include "lid.h"

#include <cstring>

#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

Lid::Lid()
    : file(::open("/dev/uinput", O_WRONLY | O_CLOEXEC))
{
    uinput_setup setup = {};
    std::strcpy(setup.name, "Lid Switch");
    setup.id.bustype = BUS_HOST;
    ::ioctl(file, UI_SET_EVBIT, EV_SW);
    ::ioctl(file, UI_SET_SWBIT, SW_LID);
    ::ioctl(file, UI_DEV_SETUP, &setup);
    ::ioctl(file, UI_DEV_CREATE);
}

Lid::~Lid()
{
    ::close(file);
}

bool Lid::setClosed(bool closed) const
{
    input_event events[2] = {};
    events[0].type = EV_SW;
    events[0].code = SW_LID;
    events[0].value = closed ? 1 : 0;
    events[1].type = EV_SYN;
    events[1].code = SYN_REPORT;
    return ::write(file, events, sizeof(events)) == static_cast<ssize_t>(sizeof(events));
}
