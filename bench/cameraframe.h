#pragma once

#include <QByteArray>
#include <QSize>

/// Camera frames to measure with.
namespace cameraframe {

/// A page of text with some sensor grain, encoded as USB cameras do: 4:2:2, quality 85. Another
/// `shift` moves the text a little.
QByteArray page(QSize size, int shift);

} // namespace cameraframe
