#pragma once

#include "library/base/bytes.h"

#include <cstddef>
#include <vector>

namespace korv {

/// A JPEG that is stretched over the place where it belongs.
struct LayerJpeg
{
    Bytes jpeg; ///< complete file; empty: there is no such layer
    int width = 0; ///< pixels of its own
    int height = 0;
    bool gray = false;
};

/// A JPEG that lies on a part of the page, one pixel of it on one of the page's.
struct PicturePatch
{
    LayerJpeg picture;
    int left = 0; ///< pixels of the page
    int top = 0;
};

enum class MaskCoding {
    CcittG4, ///< see encodeCcittG4()
    Jbig2, ///< see encodeJbig2()
};

/// Where ink is: black.
struct InkMask
{
    Bytes data; ///< empty: nowhere
    MaskCoding coding = MaskCoding::CcittG4;
};

/// Ink on a part of the page: its colours, stretched over the part, where the mask is set.
struct InkPatch
{
    LayerJpeg ink; ///< colours only; what is between letters means nothing
    InkMask mask; ///< of the part's size
    int left = 0; ///< pixels of the page
    int top = 0;
    int width = 0;
    int height = 0;
};

/// A page taken apart, the lowest layer first. Together they show the page: the paper all over it, on
/// that the pictures, then the ink of places that have several, and the ink where the mask is set.
struct PageLayers
{
    LayerJpeg paper;
    std::vector<PicturePatch> pictures;
    std::vector<InkPatch> colouredInk; ///< only on pages that have a mask
    LayerJpeg ink; ///< colours only; what is between letters means nothing
    InkMask mask; ///< as wide and as high as the page

    std::size_t size() const
    {
        std::size_t sum = paper.jpeg.size() + ink.jpeg.size() + mask.data.size();
        for (const PicturePatch &patch : pictures)
            sum += patch.picture.jpeg.size();
        for (const InkPatch &patch : colouredInk)
            sum += patch.ink.jpeg.size() + patch.mask.data.size();
        return sum;
    }
};

} // namespace korv
