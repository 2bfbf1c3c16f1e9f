#pragma once

#include "library/base/result.h"
#include "library/documents/document_writer.h"
#include "library/export/page_maker.h"
#include "library/files/byte_sink.h"
#include "library/image/image.h"
#include "library/threads/row_gate.h"

#include <memory>
#include <string>

namespace korv {

enum class FormatKind {
    Jpeg, ///< a single picture that may take a JPEG's bytes as they are
    Picture, ///< a single picture, from pixels
    Document, ///< pages
};

struct PictureOptions
{
    int quality = 95; ///< 1..100, where the format has such a thing
    RowGate *rows = nullptr; ///< see PngOptions; for formats that say so
};

/// One way to write a file. The table in format.cpp is the only place that knows extensions.
struct Format
{
    const char *extension = ""; ///< lower case, without the dot
    FormatKind kind = FormatKind::Picture;
    /// Writes one picture; null for documents.
    Result<void> (*writePicture)(const Image &, const PictureOptions &, ByteSink &) = nullptr;
    bool takesRowsAsTheyCome = false; ///< pictures: see PictureOptions
    /// Begins a document; null for single pictures.
    std::unique_ptr<DocumentWriter> (*makeDocument)(ByteSink &, const DocumentOptions &) = nullptr;
    PixelCoder codePixels = nullptr; ///< documents: see PageOptions
    bool plainJpegOnly = false; ///< documents: see PageOptions
    bool hasText = false; ///< documents: pages can have text
    bool hasLayers = false; ///< documents: the writer takes Page::layers
};

/// By the path's extension in any case; null when there is none that is known.
const Format *formatForPath(const std::string &path);

} // namespace korv
