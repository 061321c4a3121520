#pragma once

#include <map>
#include <string>

/// Remembers on creation which audio endpoints are the system's defaults, and makes them the defaults again
/// on destruction. An endpoint is known by the friendly name of its audio adapter, which outlives its
/// identifier when the device comes back on another port.
///
/// Names are recorded without a leading number ("2- USB Audio Device") and only up to the first character
/// that is neither a Latin letter nor a blank, but are looked up exactly as the system gives them: only an
/// adapter whose whole name consists of letters and blanks gets its endpoints back. Of several with the same
/// name the first in the system's order does.
///
/// Nothing is reported and nothing is thrown: a role, endpoint or direction that cannot be read or set is
/// passed over.
///
/// To be used on one thread, with COM initialised there. Every operation blocks for some calls to the audio
/// service.
class AudioEndpointsKeeper
{
public:
    /// Records the default endpoints of playback, then of recording.
    AudioEndpointsKeeper();
    /// Does what restore() does.
    ~AudioEndpointsKeeper();
    AudioEndpointsKeeper(const AudioEndpointsKeeper&) = delete;
    AudioEndpointsKeeper& operator=(const AudioEndpointsKeeper&) = delete;

    /// Makes the recorded endpoints the defaults again, playback first. What is recorded stays so.
    void restore();

private:
    /// From an adapter's name to the roles in which its endpoint is the default, ascending within a name:
    /// 0 eConsole, 1 eMultimedia, 2 eCommunications. Plain numbers, because <mmdeviceapi.h> has names that
    /// clash with the updater's own.
    using Defaults = std::multimap<std::wstring, int>;

    Defaults renderDefaults;
    Defaults captureDefaults;
};
