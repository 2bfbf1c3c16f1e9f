#include "cli/session/jpegsize.h"

#include <fstream>

namespace cli {
namespace {

// markers of ITU-T T.81, table B.1
constexpr int kStartOfImage = 0xD8;
constexpr int kStartOfScan = 0xDA;

/// SOF0 to SOF15 without DHT, JPG and DAC, which lie among them.
bool isFrameHeader(int marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

int readByte(std::istream &file)
{
    return file.get();
}

int readNumber(std::istream &file)
{
    const int high = readByte(file);
    const int low = readByte(file);
    return high < 0 || low < 0 ? -1 : high * 256 + low;
}

/// -1 at the end of the file or where no marker stands.
int nextMarker(std::istream &file)
{
    if (readByte(file) != 0xFF)
        return -1;
    int marker = readByte(file);
    while (marker == 0xFF) // fill bytes
        marker = readByte(file);
    return marker;
}

} // namespace

PictureSize jpegSize(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (nextMarker(file) != kStartOfImage)
        return {};
    for (int marker = nextMarker(file); marker >= 0 && marker != kStartOfScan;
         marker = nextMarker(file)) {
        const int length = readNumber(file);
        if (length < 2)
            break;
        if (isFrameHeader(marker)) {
            readByte(file); // bits per sample
            PictureSize size;
            size.height = readNumber(file);
            size.width = readNumber(file);
            return file ? size : PictureSize{};
        }
        file.ignore(length - 2);
    }
    return {};
}

bool isWhole(const PictureSize &photograph, int width, int height)
{
    return (photograph.width == width && photograph.height == height)
        || (photograph.width == height && photograph.height == width);
}

} // namespace cli
