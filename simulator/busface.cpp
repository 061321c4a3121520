#include "busface.h"

#include <utility>

#include "imagebuilder.h"

namespace {

constexpr std::uint16_t normalVendorId = 0x7A31;
constexpr std::uint16_t usualTransmitterProductId = 0x0004;
constexpr std::uint16_t headsetProductId = 0x0006;
constexpr std::uint16_t loaderVendorId = 0x170D;
constexpr std::uint16_t transmitterLoaderProductId = 0x0100;
constexpr std::uint16_t headsetLoaderProductId = 0x0101;

constexpr std::uint16_t consumerPage = 0x000C;
constexpr std::uint16_t vendorPage = 0xFF00;
constexpr std::uint16_t firstUsage = 0x0001;
constexpr int consumerInterface = 2; // those before are the audio functions
constexpr int channelInterface = 3;

constexpr std::uint8_t commandReportId = 0xFF;
constexpr std::uint8_t dataReportId = 0xE4;
constexpr std::uint16_t applicationReportBytes = 63;
constexpr std::uint16_t loaderReportBytes = 263;

BusDevice loaderFace(bool isTransmitter, std::shared_ptr<FeatureReports> serves)
{
    BusDevice face;
    face.vendorId = loaderVendorId;
    face.productId = isTransmitter ? transmitterLoaderProductId : headsetLoaderProductId;
    face.name = "VYNT loader";
    face.interfaces = {{0,
                        vendorPage,
                        firstUsage,
                        {{commandReportId, loaderReportBytes}, {dataReportId, loaderReportBytes}},
                        std::move(serves)}};
    return face;
}

} // namespace

BusDevice busFace(const SimulatedChip& chip, bool isProgramming, std::shared_ptr<FeatureReports> serves)
{
    const bool isTransmitter = chip.hardware().kind == DeviceType::Transmitter;
    if (isProgramming)
        return loaderFace(isTransmitter, std::move(serves));
    const auto identity = ImageBuilder::identityOf(chip.memory());
    const std::uint16_t usualProductId = isTransmitter ? usualTransmitterProductId : headsetProductId;
    BusDevice face;
    face.vendorId = normalVendorId;
    face.productId = identity ? identity->productId : usualProductId;
    face.name = isTransmitter ? "VYNT transmitter" : "VYNT headset";
    face.isComposite = true;
    face.interfaces = {{consumerInterface, consumerPage, firstUsage, {}, nullptr},
                       {channelInterface,
                        vendorPage,
                        firstUsage,
                        {{commandReportId, applicationReportBytes}},
                        std::move(serves)}};
    return face;
}
