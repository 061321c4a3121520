#pragma once

/// Stops the Windows audio service "audiosrv" and the services that depend on it. The destructor starts the
/// audio service, whatever its state was before, but not the dependent services.
///
/// The caller gets no result. Every outcome is logged as a debug message. If a call to Windows failed, the
/// message contains the error code. Without administrator rights each operation only logs such a message.
///
/// The object has no state, so any thread may call each operation, even while another operation runs. All
/// operations block: they call Sleep() between queries of the service's status.
class ScopedAudioServiceStopper
{
public:
    ScopedAudioServiceStopper() = default;
    /// Calls start().
    ~ScopedAudioServiceStopper();
    ScopedAudioServiceStopper(const ScopedAudioServiceStopper&) = delete;
    ScopedAudioServiceStopper& operator=(const ScopedAudioServiceStopper&) = delete;

    /// Stops the active dependent services, in the order in which the system lists them, then the audio
    /// service. There are three waits: for a stop that is already in progress, for all dependents together,
    /// and for the audio service. Each gives up at the first query after 30000 ms. If a dependent does not
    /// stop, the remaining ones are skipped, and the audio service still gets the stop control.
    void stop();

    /// Starts the audio service if it is stopped or stopping. Waits until the service runs, but gives up if
    /// its check point does not grow within its wait hint.
    void start();
};
