#pragma once

/// A simulated lid of a laptop: an input device with a lid switch, created through /dev/uinput.
class Lid
{
public:
    /// Adds an open lid to the computer.
    Lid();
    ~Lid();
    Lid(const Lid&) = delete;
    Lid& operator=(const Lid&) = delete;

    /// @return false if the kernel refuses the change.
    [[nodiscard]] bool setClosed(bool closed) const;

private:
    int file;
};
