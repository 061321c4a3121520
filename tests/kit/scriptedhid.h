#pragma once

#include <algorithm>
#include <functional>

#include <QByteArray>

#include "computer.h"

/// A HID function whose results the test chooses. It records its transfers.
class ScriptedHid : public HidFunction
{
public:
    // What a test sets.

    HidCapabilities caps{0xFF00, 1, 264};
    DWORD setError = ERROR_SUCCESS;
    DWORD getError = ERROR_SUCCESS;
    std::function<void(const QByteArray& report)> onSet;
    std::function<QByteArray(const QByteArray& entry)> answer; ///< makes the answer from the caller's buffer
    std::function<void()> onTransfer;                          ///< called before each transfer

    // What this class records.

    QByteArray sent; ///< the last report that was set
    int transfers = 0;
    mutable int queries = 0; ///< number of calls of capabilities()

    // The interface that this class implements.

    HidCapabilities capabilities() const override { return ++queries, caps; }

    DWORD setFeature(const std::uint8_t* report, std::size_t size) override
    {
        begin();
        sent = QByteArray(reinterpret_cast<const char*>(report), static_cast<int>(size));
        if (onSet)
            onSet(sent);
        return setError;
    }

    DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) override
    {
        begin();
        const QByteArray entry(reinterpret_cast<const char*>(report), static_cast<int>(size));
        const QByteArray bytes = answer ? answer(entry) : entry;
        received = static_cast<std::size_t>(bytes.size()); // counts all bytes, even if the buffer is smaller
        std::copy_n(bytes.cbegin(), std::min<std::size_t>(size, received), report);
        return getError;
    }

private:
    void begin()
    {
        ++transfers;
        if (onTransfer)
            onTransfer();
    }
};

/// A computer with a scripted HID device plugged in.
struct HidFixture : Computer
{
    explicit HidFixture(const HidIdentity& identity = {0x170D, 0x0101},
                        const std::shared_ptr<ScriptedHid>& scripted = std::make_shared<ScriptedHid>())
        : hid(scripted)
        , path(plug(identity, hid))
    {
    }

    const std::shared_ptr<ScriptedHid> hid;
    const std::wstring path;
};
