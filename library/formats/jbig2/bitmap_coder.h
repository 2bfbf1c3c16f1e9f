#pragma once

#include "library/formats/jbig2/arithmetic_coder.h"
#include "library/formats/jbig2/bitmap.h"

namespace korv::jbig2 {

inline constexpr std::size_t kPixelContexts = 1U << 16;
inline constexpr std::size_t kRefinementContexts = 1U << 13;

/// Codes the pixels one after the other, each by the sixteen before it (T.88, 6.2.5.3: template 0,
/// adaptive pixels in their usual places). `bitmap` has its size; a decoder fills it.
template <typename Coder> void codeBitmap(Coder &coder, Contexts &contexts, Bitmap &bitmap);

/// The same by what stands there in `reference`, which has the bitmap's size and may go on in the
/// margin, and four pixels before it (6.3.5.3: template 0).
template <typename Coder>
void codeRefinement(Coder &coder, Contexts &contexts, const Bitmap &reference, Bitmap &bitmap);

/// `shape` moved to the right and down on a bitmap of the given size; one pixel of what is beyond it
/// stays in the margin.
Bitmap moved(const Bitmap &shape, int right, int down, int width, int height);

} // namespace korv::jbig2
