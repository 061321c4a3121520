#pragma once

#include <QtTest>

/// The table of a data-driven test. Create it in the test's `_data` function.
template <typename... Types>
class Table
{
public:
    /// Declares a column for each of @p names. QFETCH uses these names.
    template <typename... Names>
    explicit Table(Names... names)
    {
        (QTest::addColumn<Types>(names), ...);
    }

    /// Adds a row. Its values are converted to the types of the columns.
    void row(const char* name, const Types&... values) const
    {
        QTestData& added = QTest::newRow(name);
        (static_cast<void>(added << values), ...);
    }
};
