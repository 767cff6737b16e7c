#pragma once

#include <QString>
#include <QTest>

#include <stdexcept>

namespace px40 {

/// A step of the tour did not do what it should; `what` is one sentence in UTF-8.
class TourError : public std::runtime_error
{
  public:
    explicit TourError(const QString &sentence) : std::runtime_error(sentence.toStdString()) {}
};

/// Throws TourError with that sentence unless `condition` holds.
inline void Require(bool condition, const QString &sentence)
{
    if (!condition)
        throw TourError(sentence);
}

/// How long anything may take before a step has failed.
constexpr int PatienceMs = 10000;

/// Lets the program work until the condition holds; throws TourError when it does not come.
template <typename Condition>
void Await(Condition condition, const QString &sentence)
{
    Require(QTest::qWaitFor(condition, PatienceMs), sentence);
}

/// The same for what may as well not come.
template <typename Condition>
void AwaitIfPossible(Condition condition, int patienceMs = PatienceMs)
{
    [[maybe_unused]] const bool came = QTest::qWaitFor(condition, patienceMs);
}

} // namespace px40
