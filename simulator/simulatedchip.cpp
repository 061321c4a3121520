#include "simulatedchip.h"

#include <algorithm>

namespace {

constexpr std::size_t ramBytes = 0x10000;
constexpr std::uint8_t powerUpPattern = 0xA5; // differs from every value that the loader's set-up writes
constexpr std::uint8_t erased = 0xFF;

constexpr std::uint16_t chipRevisionRegister = 0xF002;
constexpr std::uint16_t chipIdRegister = 0xF004;
constexpr std::uint16_t pinmux1 = 0xF0E1;
constexpr std::uint16_t pinmux2 = 0xF0E2;
constexpr std::uint16_t revisionC0Patch = 0xC0A7;
constexpr std::uint8_t unknownChipId = 0x0E;

// Layout of the frames.
constexpr std::size_t frameHeaderBytes = 3;
constexpr std::size_t dataHeaderBytes = 7;
constexpr std::size_t dataBytes = 256;
constexpr std::size_t chunkBytes = 4096;
constexpr std::size_t rowBytes = 16;
constexpr std::uint16_t rowStep = 0x1000; // distance in RAM between the rows of a load
constexpr std::size_t answerDataOffset = 11;

// Offsets in the control block.
enum {
    NvmemType = 0,
    FlashAddress = 1,
    RamAddress = 5,
    Length = 7,
    Cleared = 10,
    DeviceSize = 13,
    ConfigBits = 17,
    PageSize = 18,
    SectorSize = 20
};

/// Decodes a size: code 0 means 0, code 1 means twice @p unit, and each further code means twice the size of
/// the code before it.
std::uint32_t codedSize(unsigned code, std::uint32_t unit)
{
    return code == 0 ? 0 : unit << code;
}

} // namespace

const std::vector<SimulatedChip::Model>& SimulatedChip::models()
{
    static const std::vector<Model> all{
        {12, 2, 0xC44A, 0xC764, 0xC060, true, pinmux2, 0x0A},
        {12, 3, 0xC42D, 0xD312, 0xC060, false, pinmux2, 0x0A},
        {13, 2, 0xC451, 0xC771, 0xB0A0, true, pinmux1, 0xA0},
        {13, 3, 0xB53A, 0xBB5C, 0xB0A0, false, pinmux1, 0xA0},
    };
    return all;
}

const SimulatedChip::Model* SimulatedChip::modelOf(int chipId, int revision)
{
    for (const Model& one : models()) {
        if (one.chipId == chipId && one.revision == revision)
            return &one;
    }
    return nullptr;
}

SimulatedChip::Geometry SimulatedChip::geometryOf(DeviceType device, const std::vector<std::uint8_t>& image)
{
    constexpr std::uint32_t memoryUnit = 64;
    constexpr std::uint32_t pageUnit = 2;
    if (image.size() < 2)
        return {};
    const unsigned pageCode = image[0] >> 4u;
    const std::uint32_t memorySize = codedSize(image[0] & 0x0Fu, memoryUnit);
    const std::uint32_t configBits = image[1] >> 4u & 3u;
    if (device == DeviceType::Headset)
        return {memorySize, codedSize(pageCode & 7u, pageUnit), 0, configBits};
    return {memorySize, pageCode == 0 ? 1 : codedSize(pageCode, pageUnit),
            codedSize(image[1] & 0x0Fu, memoryUnit), configBits};
}

SimulatedChip::SimulatedChip(DeviceType device, int chipId, int chipRevision,
                             const std::vector<std::uint8_t>& image)
    : type(device)
    , id(chipId)
    , revision(chipRevision)
    , model(modelOf(chipId, chipRevision))
    , geometry(geometryOf(device, image))
    , flash(std::max<std::size_t>(geometry.memorySize, image.size()), erased)
{
    std::copy(image.begin(), image.end(), flash.begin());
    powerUp(false);
}

void SimulatedChip::powerUp(bool inLoader)
{
    ram.assign(ramBytes, powerUpPattern);
    prepared.clear();
    isProgramming = inLoader;
}

SimulatedChip::Command SimulatedChip::refusal(const char* reason)
{
    return {std::nullopt, 0, [=] { refuse(reason); }};
}

SimulatedChip::Command SimulatedChip::understand(const std::uint8_t* report, std::size_t size)
{
    if (size > 0 && report[0] == dataReportId)
        return {Phase::Download, 0, [=] { takeData(report, size); }};
    if (size < frameHeaderBytes + 1 || report[0] != commandReportId || report[1] < 2 || report[2] != 0x00 ||
        report[1] + frameHeaderBytes - 1 > size)
        return refusal("malformed frame");
    const std::uint8_t* const payload = report + frameHeaderBytes;
    const std::size_t payloadBytes = report[1] - 1u;
    if (payloadBytes > 1)
        return understandOperation(payload, payloadBytes);
    return {payload[0] == leaveApplication ? Phase::Leave : Phase::FinalWait, payload[0], [] {}};
}

/// Understands a payload of these bytes: class, 04 00 00, N, operation, operands. N is the number of operand
/// bytes plus 2.
SimulatedChip::Command SimulatedChip::understandOperation(const std::uint8_t* payload, std::size_t size)
{
    constexpr std::size_t operationOffset = 5;
    constexpr std::uint8_t memoryReadClass = 0xFD;
    constexpr unsigned registerPage = 0xF0;
    if (size <= operationOffset || payload[1] != 0x04 || payload[2] != 0 || payload[3] != 0 ||
        payload[4] != size - operationOffset + 1)
        return refusal("malformed command");
    const bool isRead = payload[0] == memoryReadClass;
    const std::uint8_t operation = payload[operationOffset];
    const std::uint8_t* const operands = payload + operationOffset + 1;
    const std::size_t count = size - operationOffset - 1;
    const auto address = static_cast<std::uint16_t>(count >= 2 ? operands[0] | operands[1] << 8u : 0);
    if (isRead && operation == 0x81 && count == 3 && operands[2] <= rowBytes)
        return {Phase::Identify, 0, [=] { read(address, operands[2]); }};
    if (isRead)
        return refusal("unknown command");
    if (operation == 0x00 && count > 2) {
        const bool isRegister = address >> 8u == registerPage;
        return {isRegister ? std::optional<Phase>(Phase::Configure) : std::nullopt, 0,
                [=] { writeRam(address, operands + 2, count - 2); }};
    }
    if (operation == 0x84 && count == 0)
        return {std::nullopt, 0, [this] { load(); }};
    if (operation == 0x03 && count == 0)
        return {Phase::Commit, 0, [this] { commit(); }};
    if (operation == 0x0C && count == 3)
        return {Phase::Erase, 0, [this] { erase(); }};
    return refusal("unknown command");
}

void SimulatedChip::takeData(const std::uint8_t* report, std::size_t size)
{
    const bool isFormed = size >= dataHeaderBytes + dataBytes && report[3] == 0 && report[4] == 0 &&
                          report[5] == 0 && report[6] == 1;
    const std::size_t offset = isFormed ? report[1] | report[2] << 8u : 0;
    if (!model || !isProgramming || !isFormed || offset % dataBytes != 0 || offset >= chunkBytes)
        return refuse("data packet refused");
    writeRam(static_cast<std::uint16_t>(model->downloadBuffer + offset), report + dataHeaderBytes, dataBytes);
}

void SimulatedChip::read(std::uint16_t address, std::size_t count)
{
    prepared.clear();
    for (std::size_t i = 0; i < count; ++i) {
        const auto at = static_cast<std::uint16_t>(address + i);
        if (at == chipIdRegister)
            prepared.push_back(hasWrongIdentity ? unknownChipId : static_cast<std::uint8_t>(id));
        else if (at == chipRevisionRegister)
            prepared.push_back(static_cast<std::uint8_t>(revision));
        else
            prepared.push_back(ram[at]);
    }
}

std::vector<std::uint8_t> SimulatedChip::answer(std::size_t size)
{
    std::vector<std::uint8_t> report(std::max(size, answerDataOffset + rowBytes));
    report[0] = commandReportId;
    if (prepared.empty())
        report[statusOffset] = noData;
    std::copy(prepared.begin(), prepared.end(), report.begin() + answerDataOffset);
    prepared.clear();
    return report;
}

void SimulatedChip::writeRam(std::uint16_t address, const std::uint8_t* data, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        ram[static_cast<std::uint16_t>(address + i)] = data[i];
}

void SimulatedChip::load()
{
    if (!model)
        return refuse("load refused: unknown chip");
    const std::uint32_t from = field(FlashAddress, 4);
    const std::uint32_t to = field(RamAddress, 2);
    const std::uint32_t length = field(Length, 2);
    if (to != model->loadBuffer || length > 2 * rowBytes || from + length > flash.size())
        return refuse("load refused");
    for (std::uint32_t i = 0; i < length; ++i)
        ram[static_cast<std::uint16_t>(to + i / rowBytes * rowStep + i % rowBytes)] = flash[from + i];
}

void SimulatedChip::commit()
{
    if (!isLoaderSetUp("commit"))
        return;
    const std::uint32_t address = field(FlashAddress, 4);
    const std::uint32_t length = field(Length, 2);
    if (field(RamAddress, 2) != model->downloadBuffer || field(Cleared, 2) != 0 || length == 0 ||
        length > chunkBytes || address >= flash.size())
        return refuse("commit refused: target");
    const std::size_t end = std::min<std::size_t>(address + length, flash.size());
    for (std::size_t at = address; at < end; ++at) {
        const std::uint8_t byte = ram[static_cast<std::uint16_t>(model->downloadBuffer + (at - address))];
        flash[at] = type == DeviceType::Transmitter ? flash[at] & byte : byte;
    }
}

void SimulatedChip::erase()
{
    if (!isLoaderSetUp("erase"))
        return;
    const std::uint32_t address = field(FlashAddress, 4);
    if (geometry.sectorSize == 0 || field(Length, 2) != 1 || address % geometry.sectorSize != 0 ||
        address >= flash.size())
        return refuse("erase refused: target");
    const std::size_t end = std::min<std::size_t>(address + geometry.sectorSize, flash.size());
    std::fill(flash.begin() + address, flash.begin() + static_cast<std::ptrdiff_t>(end), erased);
}

/// @return whether the mode, the pins, the patch, the memory type and the geometry are what this hardware
/// needs. If not, records why the chip refuses @p operation.
bool SimulatedChip::isLoaderSetUp(const char* operation)
{
    const char* missing = nullptr;
    if (!model)
        missing = "unknown chip";
    else if (!isProgramming)
        missing = "programming mode";
    else if (!arePinsSet())
        missing = "pin multiplexer";
    else if (model->needsPatch && ram[revisionC0Patch] != 0x00)
        missing = "C0 patch";
    else if (field(NvmemType, 1) != static_cast<std::uint32_t>(type))
        missing = "memory type";
    else if (!isGeometrySet())
        missing = "geometry";
    if (missing)
        refuse(std::string(operation) + " refused: " + missing);
    return !missing;
}

bool SimulatedChip::arePinsSet() const
{
    if (type == DeviceType::Transmitter)
        return ram[pinmux1] == 0x50 && ram[pinmux1 + 1] == 0x05;
    return ram[model->headsetPins] == model->headsetPinSetting;
}

bool SimulatedChip::isGeometrySet() const
{
    return field(DeviceSize, 4) == geometry.memorySize &&
           field(PageSize, 2) == (geometry.pageSize & 0xFFFFu) &&
           field(SectorSize, 4) == geometry.sectorSize && field(ConfigBits, 1) == geometry.configBits;
}

void SimulatedChip::refuse(std::string reason)
{
    refused.push_back(std::move(reason));
}

/// Reads a little-endian field of the control block. `model` must not be null.
std::uint32_t SimulatedChip::field(int offset, int bytes) const
{
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value |= static_cast<std::uint32_t>(ram[static_cast<std::uint16_t>(model->controlBlock + offset + i)])
                 << (8 * i);
    return value;
}
