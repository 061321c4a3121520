#pragma once

/// Stops the Windows audio service "audiosrv" together with the services that depend on it, and starts the
/// audio service again on destruction, whatever its state was before. The dependent services are not started
/// again.
///
/// Nothing is reported to the caller: every outcome is a debug message, failures with the Windows error code.
/// Without administrator rights thus nothing happens but the message.
///
/// The object has no state, so each operation may be called on any thread, also while another one runs. All
/// of them block, with Sleep() between queries of the service's status.
class ScopedAudioServiceStopper
{
public:
    ScopedAudioServiceStopper() = default;
    /// Calls start().
    ~ScopedAudioServiceStopper();
    ScopedAudioServiceStopper(const ScopedAudioServiceStopper&) = delete;
    ScopedAudioServiceStopper& operator=(const ScopedAudioServiceStopper&) = delete;

    /// Stops the dependent services that are active, in the order in which the system lists them, then the
    /// audio service. Each wait, for a stop that is under way already, for all dependents together, and for
    /// the audio service, is given up after 30000 ms and the query that follows. A dependent that does not
    /// stop ends the work on the dependents; the audio service is told to stop all the same.
    void stop();

    /// Starts the audio service if it is stopped or stopping, and waits until it runs. Waiting goes on as
    /// long as the service's check point grows within its wait hint.
    void start();
};
