// Gives the real devices and the real session to the program that links this file.

#include <QtGlobal>

#include "linuxdevicetree.h"
#include "loginsession.h"
#include "machine.h"

namespace {

struct Equipment
{
    Equipment()
    {
        const auto log = [](const std::string& text) { qWarning("%s", text.c_str()); };
        // Never destroyed: threads may outlive main().
        currentMachine().devices = new LinuxDeviceTree(log);
        currentMachine().session = new LoginSession(log);
    }
};

const Equipment equipment;

} // namespace
