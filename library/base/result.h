#pragma once

#include <cassert>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace korv {

/// Why something did not happen: a negative errno for the caller, one sentence for the log. Making
/// and copying one never throws, so that errors can be handed on where memory has run out: the text
/// is then replaced by one that needs no memory.
struct Error
{
    Error() = default;
    Error(int negativeErrno, std::string reason) noexcept
        : code(negativeErrno)
        , text(std::move(reason))
    {
    }
    Error(int negativeErrno, const char *reason) noexcept
        : code(negativeErrno)
    {
        set(reason);
    }
    Error(const Error &other) noexcept
        : code(other.code)
    {
        set(other.text);
    }
    Error(Error &&) noexcept = default;
    Error &operator=(const Error &other) noexcept
    {
        code = other.code;
        set(other.text);
        return *this;
    }
    Error &operator=(Error &&) noexcept = default;
    ~Error() = default;

    int code = 0; ///< negative errno
    std::string text;

private:
    template <typename Text> void set(const Text &reason) noexcept
    {
        try {
            text = reason;
        } catch (...) {
            text = "out of memory"; // short enough to need none
        }
    }
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

/// A part of an error's text, which is there already: one that is only put together for the call
/// might be so before `errno` is read, and whatever allocates memory may change that.
class ErrorPart
{
public:
    ErrorPart(const char *text)
        : m_text(text)
    {
    }
    ErrorPart(const std::string &text)
        : m_text(text)
    {
    }
    ErrorPart(std::string &&) = delete;

    std::string_view text() const { return m_text; }

private:
    std::string_view m_text;
};

/// An Error from `errno`-style positive codes: `systemError(errno, "open ", path)`.
inline Error systemError(int positiveErrno, ErrorPart doing, ErrorPart what, ErrorPart more = "")
{
    std::string text;
    text.append(doing.text()).append(what.text()).append(more.text());
    return {-positiveErrno, std::move(text)};
}
inline Error systemError(int positiveErrno, const char *doing) noexcept
{
    return {-positiveErrno, doing};
}

} // namespace korv
