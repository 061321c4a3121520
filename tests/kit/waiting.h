#pragma once

#include <string>

#include <QtTest>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/// How long a test waits, even on a busy machine, for something that normally happens in a moment.
constexpr int patienceMs = isSanitized ? 20000 : 10000;

/// Handles events until @p condition holds. Fails the test function if that takes longer than patienceMs.
#define TRY_VERIFY(condition)                                                                                \
    do {                                                                                                     \
        const bool holdsInTime = QTest::qWaitFor([&] { return bool(condition); }, patienceMs);               \
        QVERIFY2(holdsInTime, "timed out waiting for: " #condition);                                         \
    } while (false)

/// Handles events until @p actual equals @p expected. If they still differ after patienceMs, fails the test
/// function and prints both values.
#define TRY_COMPARE(actual, expected)                                                                        \
    do {                                                                                                     \
        static_cast<void>(QTest::qWaitFor([&] { return (actual) == (expected); }, patienceMs));              \
        QCOMPARE(actual, expected);                                                                          \
    } while (false)

/// Waits, without handling events, until another thread has released @p semaphore @p count times.
#define TRY_ACQUIRE(semaphore, count)                                                                        \
    QVERIFY2((semaphore).tryAcquire(count, patienceMs), "timed out waiting for: " #semaphore)

namespace QTest {

template <>
inline char* toString(const std::string& text)
{
    return toString(QString::fromStdString(text));
}

template <>
inline char* toString(const std::wstring& text)
{
    return toString(QString::fromStdWString(text));
}

} // namespace QTest
