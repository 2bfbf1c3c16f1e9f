#pragma once

namespace korv {

/// Dots per inch, across and down; 0 when not known.
struct Resolution
{
    Resolution() = default;
    // not explicit: dots that are as wide as high are the usual ones
    Resolution(double dpi) // NOLINT(google-explicit-constructor)
        : x(dpi)
        , y(dpi)
    {
    }
    Resolution(double across, double down)
        : x(across)
        , y(down)
    {
    }

    bool isKnown() const { return x > 0 && y > 0; }
    /// That of the picture after a quarter turn.
    Resolution transposed() const;

    friend bool operator==(const Resolution &a, const Resolution &b)
    {
        return a.x == b.x && a.y == b.y;
    }

    double x = 0;
    double y = 0;
    /// From a size that is known to a hundredth of a millimetre, and not rounded to a whole number.
    bool exact = false;
};

/// The one resolution used in every format: what the picture states when that means something (72
/// and 96 dpi are common placeholder values, unless exact) and a page of that size is possible, otherwise
/// the dots per inch (a whole number) at which the long side is that of an A4 sheet. Dots that are
/// stated to be higher than wide, or wider than high, stay so. A size in pixels is positive.
Resolution effectiveResolution(int width, int height, const Resolution &stated);

/// What is to be believed of what a photograph states. A camera's program writes any number, and no
/// sheet under a camera is larger than A2: nothing then, but the shape of the dots stays.
Resolution believableResolution(int width, int height, const Resolution &stated);

/// The resolution at which a picture has a size in millimetres.
Resolution exactResolution(int width, int height, double widthMm, double heightMm);

} // namespace korv
