// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoroTask>
#include <QString>
#include <QtTest>

#include <exception>
#include <memory>
#include <optional>

namespace vorn {

/// What becomes of a task that runs.
template <class Value> class Outcome {
public:
    explicit Outcome(QCoro::Task<Value> task) { collect(std::move(task), m_state); }

    [[nodiscard]] bool isThere() const { return m_state->value || m_state->failure; }

    /// Waits. The text of what the task threw; empty when it gave a value.
    [[nodiscard]] QString error()
    {
        if (!wait())
            return QStringLiteral("(no outcome)");
        try {
            if (m_state->failure)
                std::rethrow_exception(m_state->failure);
        } catch (const std::exception &failure) {
            return QString::fromUtf8(failure.what());
        }
        return {};
    }
    /// Waits. Throws what the task threw.
    [[nodiscard]] Value value()
    {
        if (!wait())
            qFatal("a task does not end");
        if (m_state->failure)
            std::rethrow_exception(m_state->failure);
        return std::move(*m_state->value);
    }

private:
    struct State {
        std::optional<Value> value;
        std::exception_ptr failure;
    };

    static QCoro::Task<> collect(QCoro::Task<Value> task, std::shared_ptr<State> state)
    {
        try {
            state->value.emplace(co_await task);
        } catch (...) {
            state->failure = std::current_exception();
        }
    }

    bool wait()
    {
        constexpr int patienceMs = 20'000;
        return QTest::qWaitFor([this] { return isThere(); }, patienceMs);
    }

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// A value for a task that gives none.
inline QCoro::Task<bool> ended(QCoro::Task<> task)
{
    co_await task;
    co_return true;
}

} // namespace vorn
