#pragma once

/// File-system helpers on byte-string paths (UTF-8 by convention).
///
/// Results: 0 means success or yes, -1 means failure or no; getting the working directory returns
/// a length instead. Nothing throws, a null path is answered with "no", diagnostics go to standard
/// output. Thread: any, as long as nobody changes the environment at the same time.
class general
{
public:
    general() = default;

    /// Creates `path` and its missing parents with the shell's mkdir(1). `mode` is written in
    /// decimal behind a literal 0, so 777 asks for the octal mode 0777; 0 leaves the mode to the
    /// umask. The path is not quoted: the shell splits it at blanks. A command of 1024 bytes or
    /// more is not run. Failure is reported as "err no:%d" only; the result is always 0.
    static int Korv_Config_Mkdir(const char *path, int mode);

    /// Writes the application's private directory, ending with a slash, into `out`, cut to `size`
    /// bytes with its terminating zero, and creates the directory when it is missing.
    /// Returns the length of the text written plus 1; -1 when HOME is unset or too long or when
    /// `out` cannot hold a text at all.
    static int Korv_Config_GetTempPath(int size, char *out);

    /// Tells whether `src` exists. Copies nothing and never touches `dst`, which must not be null.
    static int Korv_Config_Copy_File(const char *src, const char *dst);

    /// Tells whether `path` exists; true for directories too.
    static int Korv_Config_Is_Exit_File(const char *path);

    /// Tells whether `path` is a directory that can be opened.
    static int Korv_Config_Is_Exit_Dir(const char *path);

    /// Tells whether the one permission class that applies to the effective user (owner, else
    /// group, else others) may write. Supplementary groups and superuser rights do not count.
    /// A path that cannot be examined is answered with -1.
    static int Korv_Config_Writable(const char *path);

    /// The same for reading.
    static int Korv_Config_Readable(const char *path);

    /// unlink(2): 0, or -1 with errno set. Does not remove directories.
    static int Korv_Config_Remove_File(const char *path);
};
