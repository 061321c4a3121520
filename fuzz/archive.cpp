// The archive loader: one signal, and what is held afterwards is all or nothing.

#include "fuzztarget.h"

#include <sys/mman.h>
#include <unistd.h>

#include "firmwarecontroller.h"
#include "firmwareutilities.h"
#include "utilities.h"

namespace {

constexpr int maxReleaseNotes = 1024 * 1024;

/// A file in memory that is loaded by its path.
class MemoryFile
{
public:
    MemoryFile()
        : file(memfd_create("archive", MFD_CLOEXEC))
    {
    }

    void write(const std::uint8_t* data, std::size_t size) const
    {
        FuzzTarget::require(ftruncate(file, 0) == 0 &&
                                pwrite(file, data, size, 0) == static_cast<ssize_t>(size),
                            "the input cannot be written");
    }

    QString path() const { return QStringLiteral("/proc/self/fd/%1").arg(file); }

private:
    const int file;
};

/// Whether there is an image of that kind, whole.
bool holds(const FirmwareController& controller, DeviceType type)
{
    const QByteArray image = controller.firmware(type);
    const QString version = controller.version(type);
    const unsigned short pid = controller.pid(type);
    const bool isHeld = !image.isEmpty();
    FuzzTarget::require(isHeld == !version.isEmpty() && isHeld == (pid != 0), "half an image is held");
    if (!isHeld)
        return false;
    const ReadVersionDataHelper_FromFile reader(&image);
    FuzzTarget::require(version == FirmwareUtilities::getVersion(reader) &&
                            pid == FirmwareUtilities::getPid(reader),
                        "the image is not what it is said to be");
    FuzzTarget::require(Utilities::deviceTypeOf({Utilities::normalVendorId(), pid, InterfaceKind::Hid}) ==
                            type,
                        "the image is held for another kind of device");
    return true;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FuzzTarget::SilentLog silence;
    static const MemoryFile file;
    file.write(data, size);
    FirmwareController controller;
    int failed = 0;
    int loaded = 0;
    QObject::connect(&controller, &FirmwareController::loadingFailed, [&failed] { ++failed; });
    QObject::connect(&controller, &FirmwareController::loadedSuccessfully, [&loaded] { ++loaded; });
    controller.setFilePath(file.path());
    FuzzTarget::require(failed + loaded == 1, "not one signal");

    const bool holdsTransmitter = holds(controller, DeviceType::Transmitter);
    const bool holdsHeadset = holds(controller, DeviceType::Headset);
    FuzzTarget::require((holdsTransmitter || holdsHeadset) == (loaded == 1), "the signal is not true");
    FuzzTarget::require(controller.fileBaseName().isEmpty() == (failed == 1),
                        "the name is of another archive");
    const int notes = controller.releaseNotes().size();
    FuzzTarget::require(notes <= (loaded == 1 ? maxReleaseNotes : 0), "release notes too many");
    return 0;
}
