// Writes a page as the separation of lineart sees it, for learn.py.
//
//     lineart-evened PAGE.pgm LEVELS.pgm LIMITS.pgm
//
// LEVELS is the page evened out and sharpened, LIMITS has the level below which a pixel is ink for every
// square of pixels. Standard output gets the level of blank paper and the deviation of its noise.

#include "library/lineart/evened_page.h"
#include "library/lineart/ink_limits.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>

namespace {

using namespace korv;

cv::Mat read(const char *name)
{
    std::ifstream file(name, std::ios::binary);
    std::string kind;
    int width = 0;
    int height = 0;
    int most = 0;
    file >> kind >> width >> height >> most;
    file.get();
    if (!file || kind != "P5" || most != 255 || width < 1 || height < 1)
        return {};
    cv::Mat picture(height, width, CV_8UC1);
    file.read(picture.ptr<char>(), static_cast<std::streamsize>(picture.total()));
    return file ? picture : cv::Mat();
}

bool write(const char *name, const cv::Mat &picture)
{
    std::ofstream file(name, std::ios::binary);
    file << "P5\n" << picture.cols << ' ' << picture.rows << "\n255\n";
    for (int y = 0; y < picture.rows; ++y)
        file.write(picture.ptr<char>(y), picture.cols);
    return static_cast<bool>(file.flush());
}

int run(const char *pageName, const char *levelsName, const char *limitsName)
{
    cv::Mat gray = read(pageName);
    if (gray.empty()) {
        std::fprintf(stderr, "lineart-evened: %s is no binary PGM of 256 levels\n", pageName);
        return EXIT_FAILURE;
    }
    const EvenedPage page = evenedPage(gray);
    if (!write(levelsName, page.sharp) || !write(limitsName, inkLimits(page))) {
        std::fputs("lineart-evened: cannot write the results\n", stderr);
        return EXIT_FAILURE;
    }
    std::printf("%.2f %.3f\n", page.whiteLevel, page.noise);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4) {
        std::fputs("usage: lineart-evened PAGE.pgm LEVELS.pgm LIMITS.pgm\n", stderr);
        return EXIT_FAILURE;
    }
    try {
        return run(argv[1], argv[2], argv[3]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "lineart-evened: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
