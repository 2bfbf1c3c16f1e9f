#pragma once

#include "library/base/result.h"
#include "library/documents/made/pdf_file.h"
#include "library/image/image.h"

#include <string>
#include <vector>

namespace korv {

/// Where something is drawn: points from the page's lower left corner.
struct PdfPlace
{
    double left = 0;
    double under = 0;
    double width = 0;
    double height = 0;
};

/// A picture as a page draws it.
struct DrawnPicture
{
    PdfObject picture;
    PdfPlace place;
};

/// What a page of a document of ours draws: one picture, or the layers of a page with the lowest one
/// first. Errors: -EBADMSG for any other page.
Result<std::vector<DrawnPicture>> drawnPictures(const PdfFile &file, const PdfDictionary &page);

/// The pictures put together, in gray, the resolution that of the page. Errors: -EBADMSG, -EFBIG,
/// -ENOMEM. Throws cv::Exception, too.
Result<Image> composed(const PdfFile &file, const std::vector<DrawnPicture> &pictures);

} // namespace korv
