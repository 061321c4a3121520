#pragma once

/// The lid of a laptop that this computer pretends to be, through /dev/uinput.
class Lid
{
public:
    /// Opens it and adds it to the computer.
    Lid();
    ~Lid();
    Lid(const Lid&) = delete;
    Lid& operator=(const Lid&) = delete;

    /// @return false if the kernel refuses.
    [[nodiscard]] bool setClosed(bool closed) const;

private:
    int file;
};
