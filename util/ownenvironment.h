#pragma once

/// Environment variables that the program sets for itself alone: the commands that it starts get
/// them as they were before.
namespace ownenvironment {

/// Gives a variable a value, or takes it away for a null pointer. Only before the first thread.
void set(const char *name, const char *value);

/// The same, unless the variable has a value already.
void setDefault(const char *name, const char *value);

/// While one lives, the environment of the process is the one without the values of set(): for the
/// moment in which a command is started. Any thread, several at a time. What somebody sets
/// meanwhile is lost.
class Hidden
{
public:
    Hidden();
    ~Hidden();
    Hidden(const Hidden &) = delete;
    Hidden &operator=(const Hidden &) = delete;
};

} // namespace ownenvironment
