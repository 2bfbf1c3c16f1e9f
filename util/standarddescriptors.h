#pragma once

/// Opens the numbers 0 to 2 where the program was started without them, for neither reading nor
/// writing of any use: reading finds the end, writing fails as before. Otherwise the next file or
/// connection gets such a number, and what is printed lands in it. Call first thing in main().
void occupyStandardDescriptors();
