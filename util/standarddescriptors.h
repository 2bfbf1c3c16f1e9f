#pragma once

/// Opens the numbers 0 to 2 where the program was started without them, the wrong way round: reading
/// and writing fail as before. Otherwise the next file or
/// connection gets such a number, and what is printed lands in it. Call first thing in main().
void occupyStandardDescriptors();
