// Tells thread sanitizer how Qt's threads synchronise. Qt comes without the instrumentation that would show
// it, so that what one thread hands to another in an event, or to the thread pool, seems to be raced for.
// These functions of Qt, through which everything passes that is handed over and received, are put in front
// of Qt's own.

#include <QCoreApplication>
#include <QFutureWatcher>
#include <QThread>
#include <QThreadPool>

#include <dlfcn.h>

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
// NOLINTEND(bugprone-reserved-identifier)

namespace {

char handovers; // one for all: it orders more than Qt does, and never less

template <typename Function>
Function next(const char* symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

void QMetaObject::activate(QObject* sender, const QMetaObject* meta, int signal, void** arguments)
{
    static const auto own = next<decltype(static_cast<void (*)(QObject*, const QMetaObject*, int, void**)>(
        &QMetaObject::activate))>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    __tsan_release(&handovers);
    own(sender, meta, signal, arguments);
}

bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type,
                                   void* result)
{
    static const auto own = next<bool (*)(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    __tsan_release(&handovers);
    return own(object, slot, type, result);
}

bool QObject::event(QEvent* event)
{
    static const auto own = next<bool (*)(QObject*, QEvent*)>("_ZN7QObject5eventEP6QEvent");
    __tsan_acquire(&handovers);
    const bool isTaken = own(this, event);
    __tsan_release(&handovers); // for whoever waits for the end of the thread
    return isTaken;
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto own = next<bool (*)(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool hasEnded = own(this, deadline);
    __tsan_acquire(&handovers);
    return hasEnded;
}

bool QFutureWatcherBase::event(QEvent* event)
{
    static const auto own =
        next<bool (*)(QFutureWatcherBase*, QEvent*)>("_ZN18QFutureWatcherBase5eventEP6QEvent");
    __tsan_acquire(&handovers);
    return own(this, event);
}

void QThreadPool::start(QRunnable* task, int priority)
{
    static const auto own =
        next<void (*)(QThreadPool*, QRunnable*, int)>("_ZN11QThreadPool5startEP9QRunnablei");
    __tsan_release(&handovers);
    own(this, task, priority);
}

bool QFutureInterfaceBase::isCanceled() const
{
    static const auto own =
        next<bool (*)(const QFutureInterfaceBase*)>("_ZNK20QFutureInterfaceBase10isCanceledEv");
    __tsan_acquire(&handovers); // the first that a task of the pool asks
    return own(this);
}

bool QFutureInterfaceBase::derefT() const
{
    static const auto own =
        next<bool (*)(const QFutureInterfaceBase*)>("_ZNK20QFutureInterfaceBase6derefTEv");
    __tsan_release(&handovers);
    const bool isUsed = own(this);
    __tsan_acquire(&handovers); // the last user deletes the result
    return isUsed;
}

void QFutureInterfaceBase::reportFinished()
{
    static const auto own =
        next<void (*)(QFutureInterfaceBase*)>("_ZN20QFutureInterfaceBase14reportFinishedEv");
    __tsan_release(&handovers);
    own(this);
}
