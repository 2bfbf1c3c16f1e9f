#include "library/image/colour_profile.h"

#include "library/base/handle.h"
#include "library/values/byte_order.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <type_traits>
#include <utility>

#include <lcms2.h>
#include <lcms2_plugin.h>

namespace korv {

namespace {

constexpr std::size_t kHeader = 128;
/// Tables of the profiles in use take a few million bytes.
constexpr cmsUInt32Number kMaxAllocation = 32U << 20;

using ProfileHandle = Handle<void, cmsCloseProfile>;
using ContextHandle = Handle<std::remove_pointer_t<cmsContext>, cmsDeleteContext>;

void *takeMemory(cmsContext, cmsUInt32Number size)
{
    return size <= kMaxAllocation ? std::malloc(size) : nullptr;
}

void giveMemoryBack(cmsContext, void *memory)
{
    std::free(memory);
}

void *changeMemory(cmsContext, void *memory, cmsUInt32Number size)
{
    return size <= kMaxAllocation ? std::realloc(memory, size) : nullptr;
}

ContextHandle makeContext()
{
    cmsPluginMemHandler memory = {};
    memory.base.Magic = cmsPluginMagicNumber;
    memory.base.ExpectedVersion = 2060;
    memory.base.Type = cmsPluginMemHandlerSig;
    memory.MallocPtr = takeMemory;
    memory.FreePtr = giveMemoryBack;
    memory.ReallocPtr = changeMemory;
    return ContextHandle(cmsCreateContext(&memory, nullptr));
}

/// The profile without what stands behind it; empty when it is none, or too large.
ByteView cutToSize(ByteView profile)
{
    if (profile.size < kHeader)
        return {};
    const std::size_t size = bigendian::u32(profile.data);
    if (size < kHeader || size > profile.size || size > kMaxProfileSize)
        return {};
    return profile.first(size);
}

cmsColorSpaceSignature spaceOf(ProfilePixels pixels)
{
    switch (pixels) {
    case ProfilePixels::Gray:
        return cmsSigGrayData;
    case ProfilePixels::Cmyk:
        return cmsSigCmykData;
    case ProfilePixels::Rgb:
        break;
    }
    return cmsSigRgbData;
}

/// Whether it describes pixels of a picture, in a way that takes a known time: chains of processing
/// elements (D2Bx) may have any length.
bool describes(cmsHPROFILE profile, ProfilePixels pixels)
{
    const cmsProfileClassSignature kind = cmsGetDeviceClass(profile);
    const bool ofDevice = kind == cmsSigInputClass || kind == cmsSigDisplayClass
        || kind == cmsSigOutputClass || kind == cmsSigColorSpaceClass;
    return ofDevice && cmsGetColorSpace(profile) == spaceOf(pixels)
        && cmsGetEncodedICCversion(profile) < 0x05000000 && !cmsIsTag(profile, cmsSigDToB0Tag)
        && !cmsIsTag(profile, cmsSigDToB1Tag) && !cmsIsTag(profile, cmsSigDToB2Tag)
        && !cmsIsTag(profile, cmsSigDToB3Tag);
}

/// sRGB, or for gray pixels its curve on the same white.
ProfileHandle makeTarget(cmsContext context, ProfilePixels pixels)
{
    if (pixels != ProfilePixels::Gray)
        return ProfileHandle(cmsCreate_sRGBProfileTHR(context));
    // IEC 61966-2-1
    const cmsFloat64Number curve[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    cmsToneCurve *tone = cmsBuildParametricToneCurve(context, 4, curve);
    if (tone == nullptr)
        return nullptr;
    ProfileHandle target(cmsCreateGrayProfileTHR(context, cmsD50_xyY(), tone));
    cmsFreeToneCurve(tone);
    return target;
}

cmsUInt32Number typeOf(ProfilePixels pixels)
{
    switch (pixels) {
    case ProfilePixels::Gray:
        return TYPE_GRAY_8;
    case ProfilePixels::Cmyk:
        return TYPE_CMYK_8;
    case ProfilePixels::Rgb:
        break;
    }
    return TYPE_RGB_8;
}

} // namespace

std::optional<ColourProfile> ColourProfile::read(ByteView profile, ProfilePixels pixels)
{
    const ByteView cut = cutToSize(profile);
    ContextHandle context = cut.empty() ? nullptr : makeContext();
    if (!context)
        return std::nullopt;
    const ProfileHandle source(
        cmsOpenProfileFromMemTHR(context.get(), cut.data, static_cast<cmsUInt32Number>(cut.size)));
    if (!source || !describes(source.get(), pixels))
        return std::nullopt;
    const ProfileHandle target = makeTarget(context.get(), pixels);
    if (!target)
        return std::nullopt;
    void *transform =
        cmsCreateTransformTHR(context.get(), source.get(), typeOf(pixels), target.get(),
                              pixels == ProfilePixels::Gray ? TYPE_GRAY_8 : TYPE_RGB_8,
                              INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_BLACKPOINTCOMPENSATION);
    if (transform == nullptr)
        return std::nullopt;
    ColourProfile made;
    made.m_context = context.release();
    made.m_transform = transform;
    made.m_pixels = pixels;
    return made;
}

ColourProfile::ColourProfile(ColourProfile &&other) noexcept
    : m_context(std::exchange(other.m_context, nullptr))
    , m_transform(std::exchange(other.m_transform, nullptr))
    , m_pixels(other.m_pixels)
{
}

ColourProfile::~ColourProfile()
{
    if (m_transform != nullptr)
        cmsDeleteTransform(m_transform);
    if (m_context != nullptr)
        cmsDeleteContext(static_cast<cmsContext>(m_context));
}

bool ColourProfile::isSrgb() const
{
    if (m_pixels == ProfilePixels::Cmyk)
        return false;
    constexpr int kSteps = 6;
    std::array<std::uint8_t, 3 * kSteps * kSteps * kSteps> colours{};
    for (int i = 0; i < kSteps * kSteps * kSteps; ++i) {
        const int parts[] = {i % kSteps, i / kSteps % kSteps, i / kSteps / kSteps};
        for (int k = 0; k < 3; ++k)
            colours[static_cast<std::size_t>(3 * i + k)] =
                static_cast<std::uint8_t>(parts[k] * 255 / (kSteps - 1));
    }
    std::array<std::uint8_t, colours.size()> converted{};
    toSrgb(colours.data(), converted.data(),
           m_pixels == ProfilePixels::Gray ? colours.size() : colours.size() / 3);
    return std::equal(colours.begin(), colours.end(), converted.begin(),
                      [](int a, int b) { return std::abs(a - b) <= 1; });
}

void ColourProfile::toSrgb(const std::uint8_t *from, std::uint8_t *to, std::size_t pixels) const
{
    cmsDoTransform(m_transform, from, to, static_cast<cmsUInt32Number>(pixels));
}

void convertToSrgb(Image &image, ByteView profile)
{
    if (profile.empty() || image.empty() || image.isBilevel())
        return;
    const bool gray = image.format() == PixelFormat::Gray8;
    const std::optional<ColourProfile> colours =
        ColourProfile::read(profile, gray ? ProfilePixels::Gray : ProfilePixels::Rgb);
    if (!colours || colours->isSrgb())
        return;
    const auto width = static_cast<std::size_t>(image.width());
    for (int y = 0; y < image.height(); ++y)
        colours->toSrgb(image.row(y), image.row(y), width);
}

ByteView usableProfile(ByteView profile, ProfilePixels pixels)
{
    return ColourProfile::read(profile, pixels) ? cutToSize(profile) : ByteView();
}

} // namespace korv
