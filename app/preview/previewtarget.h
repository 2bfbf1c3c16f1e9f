#pragma once

#include "app/preview/previewgeometry.h"

#include <QSize>

#include <atomic>
#include <cstdint>

/// What the window wants to draw, told to the thread that prepares the picture. One word, so that
/// it is read and written without a lock. The area is bounded by what a screen can be (16 bits a
/// side), the density is kept in steps of 1/256.
class PreviewTarget
{
public:
    struct Value
    {
        previewgeometry::Turn turn = previewgeometry::Turn::None;
        QSize area; ///< in the window's own units; empty until the window was painted once
        double density = 1; ///< pixels of the screen per unit
    };

    void set(const Value &value);
    Value get() const;

private:
    std::atomic<std::uint64_t> m_word{0};
};
