// What a scan program asks the scanner for: the ScanSettings document.
#include "cli/serve/escl/scansettings.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/feedback.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::size_t kMaxReason = 200;

void check(const cli::ScanSettings &settings, const cli::ScannerLimits &limits)
{
    const std::vector<int> &offered = limits.resolutions;
    FUZZ_CHECK(std::find(offered.begin(), offered.end(), settings.resolution) != offered.end());
    FUZZ_CHECK(settings.source == cli::ScanInput::Platen || limits.hasFeeder);
    const cli::ScanRegion &region = settings.region;
    FUZZ_CHECK(region.x >= 0 && region.y >= 0 && region.width > 0 && region.height > 0);
    FUZZ_CHECK(region.width <= limits.maxWidth - region.x);
    FUZZ_CHECK(region.height <= limits.maxHeight - region.y);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    cli::ScannerLimits limits{{75, 100, 150, 200, 300}, 2622, 3579};
    // both kinds of scanner, without taking a byte from the document
    limits.hasFeeder = size % 2 == 1;
    const auto parsed = cli::parseScanSettings(std::string(bytes, bytes + size), limits);
    if (const auto *const refusal = std::get_if<cli::SettingsRefusal>(&parsed)) {
        FUZZ_CHECK(refusal->status == 400 || refusal->status == 409);
        FUZZ_CHECK(!refusal->reason.empty() && refusal->reason.size() < kMaxReason);
        fuzz::noteOutcome(refusal->reason);
    } else {
        check(std::get<cli::ScanSettings>(parsed), limits);
    }
    return 0;
}
