#pragma once

/// Stops the Windows audio service "audiosrv" and the services that depend on it. The destructor starts
/// the audio service, even if that service was not running before stop(). It does not start the
/// dependent services.
///
/// The caller gets no result. The outcome for the audio service is logged as a debug message, with the error
/// code if a call to Windows failed. Without administrator rights each operation only logs a failure.
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
    /// service. If a stop of the audio service is already in progress, waits for that stop first.
    ///
    /// Three waits are limited to 30000 ms each: the wait for a stop in progress, the wait for all dependent
    /// services together, and the wait for the audio service. A wait gives up at the first query after its
    /// limit. If a dependent service does not stop, the remaining dependent services are skipped, and the
    /// audio service still gets the stop control.
    void stop();

    /// Starts the audio service if it is stopped. If the service is stopping, waits first until it has
    /// stopped. After the start, waits until the service runs. Gives up a wait if the service's check point
    /// does not grow within the service's wait hint.
    void start();
};
