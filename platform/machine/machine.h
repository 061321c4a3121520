#pragma once

class CallFaults;
class Clock;
class DeviceTree;
class Session;
class SimulatedAudioEndpoints;
class SimulatedServiceManager;
struct ProcessTable;

/// The computer that the program runs on, as the Windows functions see it. Does not own its parts.
struct Machine
{
    Clock* clock;
    DeviceTree* devices;
    SimulatedServiceManager* services;
    SimulatedAudioEndpoints* endpoints; ///< null if the computer has no audio system
    ProcessTable* processes;
    Session* session;   ///< null if the program cannot keep the computer awake or the session open
    CallFaults* faults; ///< lets tests make calls fail
};

/// The machine of the innermost ScopedMachine, or the plain machine if there is no ScopedMachine. The plain
/// machine has the real clock and the real processes, but no services, audio system, devices or session. A
/// program that needs devices or a session must set them in the plain machine before it uses them.
/// currentMachine() may be called on any thread.
Machine& currentMachine();

/// Makes a machine the current one as long as this object exists. Before this object is destroyed,
/// everything that was opened on the machine must be closed, and every thread that uses the machine must have
/// ended.
class ScopedMachine
{
public:
    explicit ScopedMachine(Machine& machine);
    ~ScopedMachine();
    ScopedMachine(const ScopedMachine&) = delete;
    ScopedMachine& operator=(const ScopedMachine&) = delete;

private:
    Machine* previous;
};
