// Qt is built without the instrumentation that shows thread sanitizer how Qt's threads synchronise. Data that
// one thread passes to another in an event, or to the thread pool, would therefore look like a data race.
// Each function below replaces a function of Qt that sends or receives such data. It reports the
// synchronisation to thread sanitizer and calls the function that it replaces.

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

// All functions report this one address. Thread sanitizer therefore assumes at least the synchronisation that
// Qt guarantees, and often more.
char handovers;

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
    const bool isInvoked = own(object, slot, type, result);
    if (type == Qt::BlockingQueuedConnection)
        __tsan_acquire(&handovers); // the call has ended on the receiver's thread
    return isInvoked;
}

bool QObject::event(QEvent* event)
{
    static const auto own = next<bool (*)(QObject*, QEvent*)>("_ZN7QObject5eventEP6QEvent");
    __tsan_acquire(&handovers);
    const bool isTaken = own(this, event);
    __tsan_release(&handovers); // QThread::wait() in another thread acquires this
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

void QFutureWatcherBase::waitForFinished()
{
    static const auto own = next<void (*)(QFutureWatcherBase*)>("_ZN18QFutureWatcherBase15waitForFinishedEv");
    own(this);
    __tsan_acquire(&handovers);
}

void QThreadPool::start(QRunnable* task, int priority)
{
    static const auto own =
        next<void (*)(QThreadPool*, QRunnable*, int)>("_ZN11QThreadPool5startEP9QRunnablei");
    __tsan_release(&handovers);
    own(this, task, priority);
}

bool QThreadPool::waitForDone(int timeoutMs)
{
    static const auto own = next<bool (*)(QThreadPool*, int)>("_ZN11QThreadPool11waitForDoneEi");
    const bool isDone = own(this, timeoutMs);
    __tsan_acquire(&handovers);
    return isDone;
}

bool QFutureInterfaceBase::isCanceled() const
{
    static const auto own =
        next<bool (*)(const QFutureInterfaceBase*)>("_ZNK20QFutureInterfaceBase10isCanceledEv");
    __tsan_acquire(&handovers); // every task of the thread pool calls this function first
    return own(this);
}

bool QFutureInterfaceBase::derefT() const
{
    static const auto own =
        next<bool (*)(const QFutureInterfaceBase*)>("_ZNK20QFutureInterfaceBase6derefTEv");
    __tsan_release(&handovers);
    const bool isUsed = own(this);
    __tsan_acquire(&handovers); // the last user of the result deletes the result
    return isUsed;
}

void QFutureInterfaceBase::reportFinished()
{
    static const auto own =
        next<void (*)(QFutureInterfaceBase*)>("_ZN20QFutureInterfaceBase14reportFinishedEv");
    __tsan_release(&handovers);
    own(this);
}
