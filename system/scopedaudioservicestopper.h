#pragma once

/// Stops the Windows audio service "audiosrv" and the services that depend on it. Starts the audio service,
/// but not the dependent ones, on destruction, whatever its state was before.
///
/// Nothing is reported to the caller. Every outcome is a debug message, for failures with the Windows error
/// code; without administrator rights only that message appears.
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

    /// Stops the active dependent services, in the order in which the system lists them, then the audio
    /// service. There are three waits: for a stop that is already in progress, for all dependents together,
    /// and for the audio service. Each ends at the first query after 30000 ms. If a dependent does not stop,
    /// the remaining ones are skipped, and the audio service still gets the stop control.
    void stop();

    /// Starts the audio service if it is stopped or stopping, and waits until it runs, as long as its check
    /// point grows within its wait hint.
    void start();
};
