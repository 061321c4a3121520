#pragma once

#include "abstracthiddevice.h"
#include "simulateddevice.h"
#include "utilities.h"
#include "waiting.h"

/// The command channel of a simulated device, opened through the layer. It is lost when the device goes.
class Channel
{
public:
    explicit Channel(const std::wstring& path)
        : hid(Utilities::openHidDeviceByPath(path, Access::ReadWrite, Access::ReadWrite))
    {
    }

    bool isOpen() const { return hid != nullptr; }

    /// Sends the report that begins with the given bytes. The rest is 0.
    bool send(const QByteArray& bytes)
    {
        std::vector<unsigned char> report(bytes.begin(), bytes.end());
        return hid && hid->setFeatureBlocking(&report);
    }
    bool send(const char* hex) { return send(QByteArray::fromHex(hex)); }

    /// Writes bytes, in hexadecimal notation, at a chip address.
    bool write(unsigned address, const QByteArray& hex)
    {
        QByteArray frame = QByteArray::fromHex("FF0000FF0400000000" + word(address) + hex);
        frame[1] = static_cast<char>(frame.size() - 2);
        frame[7] = static_cast<char>(frame.size() - 7);
        return send(frame);
    }

    /// Asks for bytes at a chip address; answer() then collects them.
    bool ask(unsigned address, int count)
    {
        return send(QByteArray::fromHex("FF0A00FD0400000581" + word(address)) + static_cast<char>(count));
    }

    /// The bytes asked for and what follows them; "no data" or "failed".
    QByteArray answer()
    {
        std::vector<unsigned char> report(64);
        report[0] = 0xFF;
        if (!hid || !hid->getFeatureBlocking(&report))
            return "failed";
        return report[1] == 1 ? "no data" : QByteArray(reinterpret_cast<const char*>(&report[11]), 53);
    }

private:
    /// A number's two bytes, the low one first.
    static QByteArray word(unsigned value)
    {
        const char bytes[] = {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
        return QByteArray(bytes, 2).toHex();
    }

    std::shared_ptr<AbstractHidDevice> hid;
};

inline void enterProgrammingMode(SimulatedDevice& device, const std::wstring& path)
{
    QVERIFY(Channel(path).send("FF02000A"));
    TRY_VERIFY(device.isSettled() && device.isPluggedIn() && device.isProgramming());
}
