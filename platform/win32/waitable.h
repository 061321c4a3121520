#pragma once

#include "handletable.h"

/// A kernel object that threads can wait for. Its state is guarded by one lock shared by all of them, which
/// makes a wait for several objects a plain condition.
class Waitable : public KernelObject
{
public:
    /// Asked with the waiting lock held.
    virtual bool isSignalled() const = 0;
    /// A wait was satisfied by this object; the waiting lock is held.
    virtual void consume() {}
    /// The same, after the lock was left.
    virtual void waitEnded() {}
};
