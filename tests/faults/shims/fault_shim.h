#pragma once

/// A library in front of the C library: system calls of file work that fail on command. Tests link
/// it; for other programs it is named in LD_PRELOAD, with the fault in KORV_FAULT as
/// "KIND:NTH:ERRNO", for example "write:3:28", and with what the file system lacks, as a number, in
/// KORV_FILE_SYSTEM_LACKS. While nothing is armed, every call goes through; while something is,
/// fsync does nothing. Any thread; the state is the process's.
extern "C" {

/// From now on, the `nth` call (from 1) of the kind "open", "read", "write", "fsync", "rename" or
/// "link", or of "any" of these, fails with `error`. "short" makes the `nth` write take half of its
/// bytes, without an error; "full" makes all writes fail from the `nth` on; at "kill" the process
/// is killed at the `nth` call, of whatever kind, and at "stop" it stops itself (SIGSTOP) at the
/// `nth` fsync; "quiet" only keeps fsync from doing anything. Only
/// one fault is armed at a time, and but for "full" it happens once.
void armFault(const char *kind, int nth, int error);

/// Disarms; whether the fault has happened.
bool disarmFault();

/// File systems that lack things: a sum of the values below.
enum MissingFeature {
    NoNamelessFiles = 1,
    NoRenameWithoutReplacing = 2,
    NoLinks = 4,
    NoLocks = 8,
};
constexpr int kBareFileSystem = NoNamelessFiles | NoRenameWithoutReplacing | NoLinks;
void setMissingFeatures(int features);
}
