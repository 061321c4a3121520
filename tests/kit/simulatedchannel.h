#pragma once

#include "abstracthiddevice.h"
#include "hidutilities.h"
#include "simulateddevice.h"
#include "utilities.h"
#include "waiting.h"

/// The command channel of a simulated device, opened through the platform layer. Once the device is unplugged
/// or restarts, every transfer fails.
class Channel
{
public:
    explicit Channel(const std::wstring& path)
        : hid(Utilities::openHidDeviceByPath(path, Access::ReadWrite, Access::ReadWrite))
    {
    }

    /// Sends a report that starts with @p bytes. The rest of the report is 0.
    bool send(const QByteArray& bytes)
    {
        std::vector<unsigned char> report(bytes.begin(), bytes.end());
        return hid && hid->setFeatureBlocking(&report);
    }
    bool send(const char* hex) { return send(QByteArray::fromHex(hex)); }

    /// Writes bytes to the chip's @p address. @p hex holds the bytes in hexadecimal.
    bool write(unsigned address, const QByteArray& hex)
    {
        const QByteArray bytes = QByteArray::fromHex(hex);
        return hid &&
               HidUtilities::writeMemory(hid, HidUtilities::lowByte(address), HidUtilities::highByte(address),
                                         {bytes.begin(), bytes.end()});
    }

    /// Requests @p count bytes at the chip's @p address. Call answer() to fetch these bytes.
    bool ask(unsigned address, int count)
    {
        return hid && HidUtilities::requestMemoryRead(hid, HidUtilities::lowByte(address),
                                                      HidUtilities::highByte(address), count);
    }

    /// @return the requested bytes, followed by the rest of the report. Returns "no data" if the chip has no
    /// data, and "failed" if the transfer fails.
    QByteArray answer()
    {
        std::vector<unsigned char> report(64);
        report[0] = 0xFF;
        if (!hid || !hid->getFeatureBlocking(&report))
            return "failed";
        return report[1] == 1 ? "no data" : QByteArray(reinterpret_cast<const char*>(&report[11]), 53);
    }

private:
    std::shared_ptr<AbstractHidDevice> hid;
};

inline void enterProgrammingMode(SimulatedDevice& device, const std::wstring& path)
{
    QVERIFY(Channel(path).send("FF02000A"));
    TRY_VERIFY(device.isSettled() && device.isPluggedIn() && device.isProgramming());
}
