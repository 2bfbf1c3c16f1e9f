#pragma once

#include <filesystem>
#include <string>

/// A file system of its own in a file, mounted by a program of its own (FUSE): "fat" or "ntfs".
/// Unmounted with the object.
class MountedDisk
{
public:
    /// `room` holds the file and the mount point.
    MountedDisk(const std::string &kind, const std::filesystem::path &room, std::uintmax_t bytes);
    ~MountedDisk();
    MountedDisk(const MountedDisk &) = delete;
    MountedDisk &operator=(const MountedDisk &) = delete;

    /// Why it could not be mounted; empty when it is.
    const std::string &problem() const { return m_problem; }
    const std::filesystem::path &folder() const { return m_folder; }

    /// Leaves no more than that many bytes free, by a file of zeros, "filling".
    void fill(std::uintmax_t leave) const;

private:
    std::filesystem::path m_folder;
    std::string m_problem;
};
