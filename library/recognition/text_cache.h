#pragma once

#include "library/recognition/content_key.h"

#include <cstdint>
#include <optional>
#include <string>

namespace korv {

/// What a recogniser wrote about pictures, in files that outlive the process: a command that is
/// repeated need not recognise them again. Whatever goes wrong only costs time. Any thread, any
/// number of processes.
class TextCache
{
public:
    static constexpr std::uint64_t kMaxSize = std::uint64_t{200} << 20;

    /// The folder is made, for its owner only, when something is stored. Where it would hold more
    /// than `maxSize` bytes, what nobody has asked for longest goes.
    explicit TextCache(std::string folder, std::uint64_t maxSize = kMaxSize);

    /// `kind` tells apart what different readers write about one picture; letters, digits and "_+-".
    std::optional<std::string> find(const ContentKey &key, const std::string &kind) const;
    void store(const ContentKey &key, const std::string &kind, const std::string &output);

private:
    std::string pathOf(const ContentKey &key, const std::string &kind) const;
    void makeRoom() const;

    std::string m_folder;
    std::uint64_t m_maxSize;
};

} // namespace korv
