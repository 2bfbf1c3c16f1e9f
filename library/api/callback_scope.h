#pragma once

namespace korv {

/// Which of the application's callbacks the calling thread is inside of. The entry points that wait
/// for a callback to end ask this first: waiting for oneself would never end.
class CallbackScope
{
public:
    enum class Kind { None, Frame, DeviceEvent };

    explicit CallbackScope(Kind kind)
        : m_outer(current())
    {
        current() = kind;
    }
    ~CallbackScope() { current() = m_outer; }
    CallbackScope(const CallbackScope &) = delete;
    CallbackScope &operator=(const CallbackScope &) = delete;

    static Kind ofThisThread() { return current(); }

private:
    static Kind &current()
    {
        // In the block that each thread has from its start: the dynamic one outlives dlclose() in
        // the leak sanitizer's books, and it crashes on it.
        [[gnu::tls_model("initial-exec")]] thread_local Kind kind = Kind::None;
        return kind;
    }

    Kind m_outer;
};

} // namespace korv
