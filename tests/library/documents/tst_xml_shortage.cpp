#include "library/export/convert.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <new>
#include <pugixml.hpp>

using namespace korv;

namespace {

int allocationsLeft = 0;

/// pugixml's memory, which runs out on command.
class ShortMemory
{
public:
    explicit ShortMemory(int allocations)
        : m_take(pugi::get_memory_allocation_function())
        , m_giveBack(pugi::get_memory_deallocation_function())
    {
        allocationsLeft = allocations;
        pugi::set_memory_management_functions(
            [](std::size_t size) { return allocationsLeft-- > 0 ? std::malloc(size) : nullptr; },
            [](void *block) { std::free(block); });
    }
    ~ShortMemory() { pugi::set_memory_management_functions(m_take, m_giveBack); }
    ShortMemory(const ShortMemory &) = delete;
    ShortMemory &operator=(const ShortMemory &) = delete;

    static bool wasShort() { return allocationsLeft < 0; }

private:
    pugi::allocation_function m_take;
    pugi::deallocation_function m_giveBack;
};

} // namespace

// pugixml says nothing of it, and leaves out what it has no memory for.
TEST(XmlShortage, documentWithoutItsTextsIsNotWritten)
{
    const support::TempHome home;
    for (const std::string name : {"a.ofd", "a.pdf"}) {
        const std::string path = (home.scratch() / name).string();
        int allocations = 0;
        for (bool isShort = true; isShort; ++allocations) {
            const ShortMemory memory(allocations);
            const Result<void> written = writeImage(pictures::page(32, 24), path, 95);
            isShort = ShortMemory::wasShort();
            ASSERT_EQ(written.code(), isShort ? -ENOMEM : 0) << name << " " << allocations;
            ASSERT_EQ(std::filesystem::exists(path), !isShort) << name << " " << allocations;
        }
        EXPECT_GT(allocations, 1) << name;
    }
}
