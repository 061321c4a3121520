// Fuzzes the archive loader. The loader must emit exactly one signal. Afterwards every image that the
// loader holds must have the right version and product.

#include "fuzztarget.h"

#include <QTemporaryFile>

#include "firmwarecontroller.h"
#include "firmwareutilities.h"
#include "utilities.h"

namespace {

constexpr int maxReleaseNotes = 1024 * 1024;

/// @return whether @p controller holds an image for @p type. Ends the process if the version or product of
///         the image is missing or wrong, or if the product identifier belongs to another kind of device.
bool holds(const FirmwareController& controller, DeviceType type)
{
    const QByteArray image = controller.firmware(type);
    const QString version = controller.version(type);
    const unsigned short pid = controller.pid(type);
    const bool isHeld = !image.isEmpty();
    FuzzTarget::require(isHeld == !version.isEmpty() && isHeld == (pid != 0),
                        "only a part of image, version and product is loaded");
    if (!isHeld)
        return false;
    const ReadVersionDataHelper_FromFile reader(&image);
    FuzzTarget::require(version == FirmwareUtilities::getVersion(reader) &&
                            pid == FirmwareUtilities::getPid(reader),
                        "version or product does not match the image");
    FuzzTarget::require(Utilities::deviceTypeOf({Utilities::normalVendorId(), pid, InterfaceKind::Hid}) ==
                            type,
                        "the image is stored for another kind of device");
    return true;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static QTemporaryFile file;
    const QByteArray archive = FuzzTarget::lend(data, size);
    FuzzTarget::require(file.open() && file.resize(0) && file.write(archive) == archive.size(),
                        "cannot write the input");
    file.close();
    FirmwareController controller;
    int failed = 0;
    int loaded = 0;
    QObject::connect(&controller, &FirmwareController::loadingFailed, [&failed] { ++failed; });
    QObject::connect(&controller, &FirmwareController::loadedSuccessfully, [&loaded] { ++loaded; });
    controller.setFilePath(file.fileName());
    FuzzTarget::require(failed + loaded == 1, "the loader does not emit exactly one signal");

    const bool holdsTransmitter = holds(controller, DeviceType::Transmitter);
    const bool holdsHeadset = holds(controller, DeviceType::Headset);
    FuzzTarget::require((holdsTransmitter || holdsHeadset) == (loaded == 1),
                        "the signal does not match what is loaded");
    FuzzTarget::require(controller.fileBaseName().isEmpty() == (failed == 1),
                        "the archive's name does not match the signal");
    const int notes = controller.releaseNotes().size();
    FuzzTarget::require(notes <= (loaded == 1 ? maxReleaseNotes : 0), "too many release notes");
    return 0;
}
