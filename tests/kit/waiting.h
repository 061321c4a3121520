#pragma once

#include <string>

#include <QtTest>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/// How long a test waits for what should have come in a moment, on a busy machine too.
constexpr int patienceMs = isSanitized ? 20000 : 10000;

/// Waits until @p condition holds, while events are handled; the test function fails where it never does.
#define TRY_VERIFY(condition)                                                                                \
    do {                                                                                                     \
        const bool holdsInTime = QTest::qWaitFor([&] { return bool(condition); }, patienceMs);               \
        QVERIFY2(holdsInTime, "waited in vain for: " #condition);                                            \
    } while (false)

/// Waits until @p actual is @p expected, while events are handled; the test function fails, with both values,
/// where it never is.
#define TRY_COMPARE(actual, expected)                                                                        \
    do {                                                                                                     \
        static_cast<void>(QTest::qWaitFor([&] { return (actual) == (expected); }, patienceMs));              \
        QCOMPARE(actual, expected);                                                                          \
    } while (false)

/// Waits, handling no events, until another thread has released @p semaphore @p count times.
#define TRY_ACQUIRE(semaphore, count)                                                                        \
    QVERIFY2((semaphore).tryAcquire(count, patienceMs), "waited in vain for: " #semaphore)

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
