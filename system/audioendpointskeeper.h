#pragma once

#include <map>
#include <string>

/// Records on creation which audio endpoints are the system's defaults, and makes them the defaults again on
/// destruction. It identifies an endpoint by the friendly name of its audio adapter, because the endpoint's
/// identifier changes when its device is plugged into another port.
///
/// A recorded name is the first run of Latin letters and blanks in the adapter's name. It leaves out a
/// leading number, such as the one in "2- USB Audio Device", and everything after the run. restore() compares
/// recorded names with complete names. So an endpoint does not become the default again if the name of its
/// adapter contains a character other than a Latin letter or a blank. If several endpoints have adapters with
/// the same name, the first in the system's order becomes the default.
///
/// A role, endpoint or direction that cannot be read or set is skipped. Nothing is reported or thrown.
///
/// Use it on one thread, with COM initialised there. Every operation calls the audio service and
/// blocks meanwhile.
class AudioEndpointsKeeper
{
public:
    /// Records the default endpoints of playback, then of recording.
    AudioEndpointsKeeper();
    /// Calls restore().
    ~AudioEndpointsKeeper();
    AudioEndpointsKeeper(const AudioEndpointsKeeper&) = delete;
    AudioEndpointsKeeper& operator=(const AudioEndpointsKeeper&) = delete;

    /// Makes the recorded endpoints the defaults again, playback first. Keeps the record.
    void restore();

private:
    /// Maps an adapter's name to the roles in which its endpoint is the default. The roles of a name are in
    /// ascending order: 0 eConsole, 1 eMultimedia, 2 eCommunications. The roles are plain numbers because
    /// names in <mmdeviceapi.h> clash with names of the updater.
    using Defaults = std::multimap<std::wstring, int>;

    Defaults renderDefaults;
    Defaults captureDefaults;
};
