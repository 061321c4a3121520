#pragma once

/// Stops the Windows audio service "audiosrv" and the services that depend on it. The destructor starts the
/// audio service, even if it was not running before stop(), but not the dependent services.
///
/// The caller gets no result. The outcome for the audio service is logged as a debug message. If a call to
/// Windows failed, the message contains the error code. Without administrator rights each operation only logs
/// such a message.
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

    /// Waits for a stop that is already in progress, then stops the active dependent services, in the order
    /// in which the system lists them, then the audio service. Each of these three waits gives up at the
    /// first query after 30000 ms; all dependent services share one wait. If a dependent service does not
    /// stop, the remaining dependent services are skipped, and the audio service still gets the stop control.
    void stop();

    /// Starts the audio service if it is stopped. If the service is stopping, waits first until it has
    /// stopped. After the start, waits until the service runs. Each wait gives up if the service's check
    /// point does not grow within its wait hint.
    void start();
};
