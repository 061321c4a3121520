#pragma once

#include <functional>

#include <QByteArrayList>

#include "scriptedhid.h"

/// Answers queries as a chip does. `memory` returns the chip's byte at an address. The journal lists the
/// received frames (in hexadecimal) and the answers ("A"). A test may add delays ("s100" for 100 ms).
class ScriptedChip : public ScriptedHid
{
public:
    using Memory = std::function<int(unsigned address)>;
    using Answer = std::function<QByteArray(const QByteArray& honest)>;

    ScriptedChip()
    {
        onSet = [this](const QByteArray& report) { take(report); };
        answer = [this](const QByteArray&) {
            journal << "A";
            const QByteArray honest = ("\xFF" + QByteArray(10, '\0') + prepared).leftJustified(264, '\0');
            return lie ? lie(honest) : honest;
        };
    }

    /// @return a memory with an image whose table starts at address 5 and repeats @p entry without end.
    static Memory tableOf(const QByteArray& entry)
    {
        return [entry](unsigned address) {
            return address < 5 ? (address == 0 ? 0x0F : 0)
                               : entry[int((address - 5) % unsigned(entry.size()))];
        };
    }

    int chip = 12;
    int revision = 2;
    Memory memory = [](unsigned address) { return address == 0 ? 0x0B : int(address * 7); };
    Answer lie;
    QByteArrayList journal;

private:
    static unsigned numberAt(const QByteArray& report, int offset, int bytes)
    {
        unsigned value = 0;
        for (int i = bytes - 1; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>(report[offset + i]);
        return value;
    }

    void take(const QByteArray& report)
    {
        journal << report.left(2 + report[1]).toHex().toUpper();
        const unsigned at = numberAt(report, 9, 2);
        if (report[8] == '\0')
            loaded = numberAt(report, 11, 4);
        if (report[8] != '\x81')
            return;
        prepared = QByteArray(1, static_cast<char>(at == 0xF004 ? chip : revision));
        const unsigned buffer = chip == 12 ? 0xC060 : 0xB0A0;
        for (unsigned i = 0; at < 0xF000 && i < numberAt(report, 11, 1); ++i)
            prepared.insert(int(i), char(memory(loaded + (at - buffer) / 0x1000 * 16 + i)));
    }

    unsigned loaded = 0;
    QByteArray prepared;
};
