// Writes what the automatic crop knows of every outline in some pictures, for fit.py.
//
//     crop-outlines OUTLINES PICTURE.jpg...
//
// OUTLINES becomes a table of 32-bit floats in the machine's byte order, a row for each outline; its
// columns are those of names().

#include "library/crop/lines/crop_geometry.h"
#include "library/jpeg/jpeg.h"
#include "library/image/opencv_threads.h"
#include "library/crop/sheet_search.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace korv;
using namespace korv::crop;

constexpr std::size_t kRefined =
    12; ///< of the best of each search; the others are not judged so far

constexpr std::size_t kOfRefined = 10 + Surroundings::kCount; ///< columns that only those have

void addCorners(std::vector<float> &row, const Corners &corners)
{
    for (const cv::Point2d &corner : corners) {
        row.push_back(static_cast<float>(corner.x));
        row.push_back(static_cast<float>(corner.y));
    }
}

class Table
{
public:
    explicit Table(const std::string &path)
        : m_file(path, std::ios::binary)
    {
    }

    /// `search` is 1 among the edges without writing, 2 among all.
    void add(int picture, int search, const SheetSearch &sheet,
             const std::vector<Candidate> &candidates)
    {
        for (std::size_t i = 0; i < candidates.size(); ++i) {
            std::vector<float> row = {static_cast<float>(picture), static_cast<float>(search)};
            addCorners(row, sheet.inFrame(candidates[i].corners));
            if (i < kRefined) {
                const Refined refined = sheet.refined(candidates[i]);
                addCorners(row, sheet.widened(refined));
                row.push_back(static_cast<float>(refined.leastAgreement()));
                row.push_back(static_cast<float>(refined.meanAgreement()));
                for (const double value : sheet.around(candidates[i]).values())
                    row.push_back(static_cast<float>(value));
            } else {
                row.resize(row.size() + kOfRefined, std::numeric_limits<float>::quiet_NaN());
            }
            for (const double value : candidates[i].features.values())
                row.push_back(static_cast<float>(value));
            m_file.write(reinterpret_cast<const char *>(row.data()),
                         static_cast<std::streamsize>(row.size() * sizeof(float)));
        }
    }

    bool close()
    {
        m_file.close();
        return !m_file.fail();
    }

private:
    std::ofstream m_file;
};

bool addPicture(const std::string &path, int index, Table &table)
{
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(file)), {});
    const Result<Image> image = jpeg::decode(bytes);
    if (!image) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), image.error().text.c_str());
        return false;
    }
    if (!SheetSearch::isLargeEnough(image.value()))
        return true;
    HelperThread core;
    SheetSearch sheet(image.value(), core);
    table.add(index, 1, sheet, sheet.searchWithoutText());
    table.add(index, 2, sheet, sheet.searchAll());
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: crop-outlines OUTLINES PICTURE.jpg...\n");
        return 2;
    }
    keepOpenCvInThisThread();
    Table table(argv[1]);
    for (int i = 2; i < argc; ++i) {
        if (!addPicture(argv[i], i - 2, table))
            return 1;
    }
    return table.close() ? 0 : 1;
}
