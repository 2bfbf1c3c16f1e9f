#pragma once

#include <QImage>
#include <QRect>
#include <optional>

/// Reads which frame of the simulated desk a picture shows: a coin wanders along its lower edge, a
/// step further in each frame.
namespace coinclock {

/// Frames until the coin is back where it was; not a whole number.
double framesPerRound(QSize frame);

/// Where the coin's strip stands in a picture of a frame, drawn at `picture`.
QRect strip(QSize frame, const QRect &picture);

/// The place on the coin's way, in frames, from a picture of the strip of a frame that is drawn
/// `scale` times as large; nothing where no coin is seen.
std::optional<double> placeOf(const QImage &strip, QSize frame, double scale);

/// How many frames the place `one` is ahead of `other`, from minus half a round to half a round.
double ahead(double one, double other, double round);

} // namespace coinclock
