#pragma once

#include <QString>
#include <tl/expected.hpp>

#include <utility>

namespace px40 {

/// What a caller may do something about; for all else the sentence is enough.
enum class FailureCode {
    Other,
    Unreadable, ///< what was to be read, where it matters that it was not the writing
    FileInUse,  ///< another program has the file open
    FileTaken,  ///< another file has the name by now
    NoAnswer,   ///< the instrument kept silent
    Cancelled,  ///< the user, or the end of the program, wanted no more of it: nothing is to be told
};

/// Why something was not done.
struct Failure
{
    QString text; ///< a sentence for the user, perhaps of several lines; empty only with `Cancelled`
    FailureCode code = FailureCode::Other;
};

/// What an operation gives that may fail: the value, or why there is none. The compiler complains where one
/// is dropped unseen. `Why` is `Failure` except in xlsx/, which has no texts for the user.
template <typename T = void, typename Why = Failure>
class [[nodiscard]] Result : public tl::expected<T, Why>
{
  public:
    using tl::expected<T, Why>::expected;
};

/// `return Fail(text);` in a function that gives a `Result`.
inline tl::unexpected<Failure> Fail(QString text, FailureCode code = FailureCode::Other)
{
    return tl::unexpected<Failure>(Failure{std::move(text), code});
}

/// `return Fail(result.error());` hands on why another one failed.
inline tl::unexpected<Failure> Fail(Failure failure)
{
    return tl::unexpected<Failure>(std::move(failure));
}

} // namespace px40
