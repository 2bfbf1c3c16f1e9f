#pragma once

#include <cassert>
#include <string>
#include <utility>
#include <variant>

namespace korv {

/// Why something did not happen: a negative errno for the caller, one sentence for the log.
struct Error
{
    int code = 0; ///< negative errno
    std::string text;
};

/// A value or the reason there is none. Nothing in the library throws on bad input; this is the one
/// way to report it.
template <typename T> class [[nodiscard]] Result
{
public:
    Result(T value)
        : m_state(std::in_place_index<0>, std::move(value))
    {
    }
    Result(Error error)
        : m_state(std::in_place_index<1>, std::move(error))
    {
        assert(this->error().code < 0);
    }

    explicit operator bool() const { return m_state.index() == 0; }

    T &value() & { return std::get<0>(m_state); }
    const T &value() const & { return std::get<0>(m_state); }
    T &&value() && { return std::get<0>(std::move(m_state)); }
    const Error &error() const { return std::get<1>(m_state); }

    /// 0 on success, the negative errno otherwise.
    int code() const { return *this ? 0 : error().code; }

private:
    std::variant<T, Error> m_state;
};

/// Success, or the reason there was none.
template <> class [[nodiscard]] Result<void>
{
public:
    Result() = default;
    Result(Error error)
        : m_error(std::move(error))
    {
        assert(m_error.code < 0);
    }

    explicit operator bool() const { return m_error.code == 0; }
    const Error &error() const { return m_error; }
    int code() const { return m_error.code; }

private:
    Error m_error;
};

/// An Error from `errno`-style positive codes: `systemError(errno, "open " + path)`.
inline Error systemError(int positiveErrno, std::string doing)
{
    return Error{-positiveErrno, std::move(doing)};
}

} // namespace korv
