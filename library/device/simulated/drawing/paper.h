#pragma once

#include "library/image/image.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace korv {

/// A sheet to write and draw on. Positions and sizes are in thousandths of the sheet's width,
/// so a drawing does not depend on the number of pixels; y grows downwards.
class Paper
{
public:
    using Colour = std::array<std::uint8_t, 3>; ///< R, G, B
    enum class Face { Plain, Serif };

    static constexpr Colour kWhite{243, 242, 236};
    static constexpr Colour kInk{38, 38, 44};
    static constexpr Colour kPale{150, 150, 156};
    static constexpr Colour kBlue{40, 72, 140};
    static constexpr Colour kRed{176, 36, 40};

    struct Box
    {
        double x = 0;
        double y = 0;
        double width = 0;
        double height = 0;
    };

    Paper(int width, int height, Colour ground = kWhite);

    const Image &image() const { return m_image; }

    /// `y` is the base line, `size` the height of a capital letter. Returns where the text ends.
    /// Latin letters only.
    double text(double x, double y, double size, const std::string &text, Colour colour = kInk,
                Face face = Face::Plain);
    void line(double x1, double y1, double x2, double y2, double thickness, Colour colour = kInk);
    void fill(const Box &box, Colour colour);
    void ring(double x, double y, double radius, double thickness, Colour colour);
    void disc(double x, double y, double radius, Colour colour);
    /// The first and last row have these colours, those between what lies between.
    void shade(const Box &box, Colour top, Colour bottom);
    /// Fills what lies below a line of heights, spaced evenly over the box; 0 is its lower edge.
    void hill(const Box &box, const std::vector<double> &heights, Colour colour);

private:
    int pixels(double units) const;

    Image m_image;
};

} // namespace korv
