#include "library/crop/edges/edge_finder.h"
#include "library/crop/edges/shrinker.h"
#include "library/crop/lines/line_votes.h"
#include "library/crop/outlines/sheet_judge.h"
#include "library/crop/outlines/side_refiner.h"
#include "library/crop/outlines/surroundings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

using namespace korv;
using namespace korv::crop;

namespace {

Image noise(int width, int height, PixelFormat format)
{
    Image image(width, height, format);
    std::uint32_t state = 7;
    for (int y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < image.stride(); ++x) {
            state = state * 1664525U + 1013904223U;
            image.row(y)[x] = static_cast<std::uint8_t>(state >> 24);
        }
    }
    return image;
}

/// Rounded mean of a channel over a block, by the book.
int meanOf(const Image &image, cv::Rect block, int channel)
{
    int sum = 0;
    for (int y = block.y; y < block.br().y; ++y) {
        for (int x = block.x; x < block.br().x; ++x)
            sum += image.row(y)[x * image.channels() + channel];
    }
    return (sum + block.area() / 2) / block.area();
}

/// A picture that is dark on the left of a column and light from there on.
SearchPicture stepAt(int column, cv::Size size)
{
    SearchPicture picture;
    for (cv::Mat &plane : picture.closed)
        plane = cv::Mat(size, CV_8UC1, cv::Scalar(128));
    picture.closed[0](cv::Rect(0, 0, column, size.height)) = 60;
    picture.closed[0](cv::Rect(column, 0, size.width - column, size.height)) = 200;
    picture.plainLuma = picture.closed[0].clone();
    return picture;
}

/// Paper on a dark desk, its upper side bent by so many pixels: up in the middle when negative.
Image bentPaper(double bend)
{
    Image image(800, 600, PixelFormat::Gray8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const double along = (x - 400) / 250.0;
            const double top = 150 + bend * (1 - along * along);
            const double depth = std::min({x - 149.5, 650.5 - x, 450.5 - y, y - top + 0.5});
            image.row(y)[x] =
                static_cast<std::uint8_t>(60 + 160 * std::clamp(depth, 0.0, 1.0) + 0.5);
        }
    }
    return image;
}

/// Paper that its desk hardly differs from, with a bar of print 9 pixels inside its left side.
Image printedPaper()
{
    Image image(800, 600, PixelFormat::Gray8);
    const cv::Rect paper(150, 150, 500, 300);
    const cv::Rect bar(159, 155, 20, 290);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const cv::Point here(x, y);
            image.row(y)[x] = bar.contains(here) ? 30 : paper.contains(here) ? 170 : 150;
        }
    }
    return image;
}

/// A search picture of one colour with a rectangle of another one in it.
SearchPicture pictureWith(int outside, cv::Rect rectangle, int inside)
{
    SearchPicture picture;
    for (cv::Mat &plane : picture.closed)
        plane = cv::Mat(240, 320, CV_8UC1, cv::Scalar(128));
    picture.closed[0] = outside;
    picture.closed[0](rectangle) = inside;
    picture.plainLuma = picture.closed[0].clone();
    picture.writing = cv::Mat::zeros(240, 320, CV_8UC1);
    return picture;
}

const cv::Rect kMiddle(110, 80, 100, 80);
const Corners kMiddleCorners{{{110, 80}, {209, 80}, {209, 159}, {110, 159}}};

/// Of an outline whose sides agree with the picture at so many of their places.
Evidence evidenceOf(const Surroundings &around, double agreement = 0.9)
{
    Evidence evidence;
    evidence.surroundings = around;
    evidence.refined.agreements.fill(agreement);
    return evidence;
}

} // namespace

TEST(SideRefiner, aBentSideIsWhollyInside)
{
    HelperThread core;
    const Corners start{{{150, 150}, {650, 150}, {650, 450}, {150, 450}}};
    for (const double bend : {-6.0, -4.0, 0.0, 4.0, 6.0}) {
        const Refined refined = refineCorners(bentPaper(bend), start, 10, core);
        const double outermost = 150 + std::min(0.0, bend);
        EXPECT_NEAR(refined.corners[0].y, outermost, 1) << bend;
        EXPECT_NEAR(refined.corners[1].y, outermost, 1) << bend;
        EXPECT_NEAR(refined.corners[2].y, 450, 1) << bend;
        EXPECT_GT(refined.leastAgreement(), 0.9) << bend;
    }
}

TEST(SideRefiner, aSideIsNotPulledInwardsToPrint)
{
    HelperThread core;
    const Corners start{{{150, 150}, {649, 150}, {649, 449}, {150, 449}}};
    const Refined refined = refineCorners(printedPaper(), start, 10, core);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_LT(length(refined.corners[i] - start[i]), 1.5) << i;
}

TEST(SideRefiner, aSideMovesToARimNearby)
{
    HelperThread core;
    for (const double away : {-6.0, -3.0, 3.0, 6.0}) { // inwards when positive
        const Corners start{{{150 - away, 150 - away},
                             {650 + away, 150 - away},
                             {650 + away, 450 + away},
                             {150 - away, 450 + away}}};
        const Refined refined = refineCorners(bentPaper(0), start, 10, core);
        EXPECT_LT(length(refined.corners[0] - cv::Point2d(150, 150)), 1) << away;
        EXPECT_LT(length(refined.corners[2] - cv::Point2d(650, 450)), 1) << away;
    }
}

TEST(Surroundings, aSheetHasADifferentDeskAround)
{
    const Surroundings around = surroundingsOf(kMiddleCorners, pictureWith(90, kMiddle, 220));
    EXPECT_EQ(around.mostLikeness, 0);
    EXPECT_EQ(around.writing, 0);
    EXPECT_EQ(around.evenness, 0);
    EXPECT_NEAR(around.lightness, 90.0 / 220, 0.01);
}

TEST(Surroundings, aDarkDeskMayHaveSeamsAndThingsOnIt)
{
    Candidate sheet;
    sheet.corners = kMiddleCorners;
    sheet.features[Feature::Lighter] = 1;
    sheet.features[Feature::Area] = std::log(100.0 * 80 / (320 * 240));
    SearchPicture picture = pictureWith(90, kMiddle, 220);
    picture.plainLuma(cv::Rect(0, 20, 320, 5)) = 20; // a seam, away from the sheet
    picture.closed[0](cv::Rect(0, 200, 60, 40)) = 40; // something dark
    const Surroundings around = surroundingsOf(kMiddleCorners, picture);
    EXPECT_FALSE(isOnBareDesk(around));
    EXPECT_TRUE(isOnDarkDesk(sheet, evidenceOf(around)));

    sheet.features[Feature::Area] = std::log(0.05);
    EXPECT_FALSE(isOnDarkDesk(sheet, evidenceOf(around))) << "small";
    sheet.features[Feature::Area] = std::log(0.1 + 1e-3);
    sheet.features[Feature::Lighter] = 0.5;
    EXPECT_FALSE(isOnDarkDesk(sheet, evidenceOf(around))) << "not lighter everywhere";
}

TEST(Surroundings, aDarkDeskMayHaveMarksAlongSidesThatAreSure)
{
    Candidate sheet;
    sheet.corners = kMiddleCorners;
    sheet.features[Feature::Lighter] = 1;
    sheet.features[Feature::Area] = std::log(0.2);
    SearchPicture marked = pictureWith(90, kMiddle, 220);
    marked.plainLuma(cv::Rect(150, 0, 5, 240)) = 30; // above and below the sheet
    const Surroundings around = surroundingsOf(kMiddleCorners, marked);
    EXPECT_TRUE(isOnDarkDesk(sheet, evidenceOf(around, 1)));
    EXPECT_FALSE(isOnDarkDesk(sheet, evidenceOf(around, 0.9)));
}

TEST(Surroundings, whatIsLightOrWrittenNextToASheetIsNoDarkDesk)
{
    Candidate sheet;
    sheet.corners = kMiddleCorners;
    sheet.features[Feature::Lighter] = 1;
    sheet.features[Feature::Area] = std::log(0.2);
    const SearchPicture plain = pictureWith(90, kMiddle, 220);
    EXPECT_TRUE(isOnDarkDesk(sheet, evidenceOf(surroundingsOf(kMiddleCorners, plain))));

    SearchPicture light = pictureWith(90, kMiddle, 220);
    light.closed[0](cv::Rect(0, 0, 320, 40)) = 215; // paper of another page, say
    EXPECT_FALSE(isOnDarkDesk(sheet, evidenceOf(surroundingsOf(kMiddleCorners, light))));

    SearchPicture written = pictureWith(90, kMiddle, 220);
    for (int y = 170; y < 200; y += 6)
        written.plainLuma(cv::Rect(110, y, 100, 2)) = 30;
    EXPECT_FALSE(isOnDarkDesk(sheet, evidenceOf(surroundingsOf(kMiddleCorners, written))));

    const SearchPicture even = pictureWith(150, kMiddle, 220);
    EXPECT_FALSE(isOnDarkDesk(sheet, evidenceOf(surroundingsOf(kMiddleCorners, even))));
}

TEST(Surroundings, paperThatGoesOnBeyondOneSideIsSeen)
{
    SearchPicture picture = pictureWith(90, kMiddle, 220);
    picture.closed[0](cv::Rect(110, 160, 100, 80)) = 220; // below
    const Surroundings around = surroundingsOf(kMiddleCorners, picture);
    EXPECT_GT(around.mostLikeness, 0.9);
    EXPECT_NEAR(around.meanLikeness, around.mostLikeness / 4, 1e-9);
}

TEST(Surroundings, writingAroundIsSeen)
{
    SearchPicture picture = pictureWith(230, kMiddle, 120);
    picture.writing = 51;
    picture.writing(cv::Rect(210, 0, 110, 240)) = 153; // more of it on the right
    const Surroundings around = surroundingsOf(kMiddleCorners, picture);
    EXPECT_NEAR(around.mostWriting, 0.6, 0.01);
    EXPECT_NEAR(around.meanWriting, (3 * 0.2 + 0.6) / 4, 0.03);
    EXPECT_GT(around.writing, 0.3);
    EXPECT_NEAR(around.evenness, 1, 0.01);
}

TEST(Surroundings, nothingIsAroundAnOutlineAsLargeAsTheFrame)
{
    const Corners frame{{{0, 0}, {319, 0}, {319, 239}, {0, 239}}};
    const Surroundings around = surroundingsOf(frame, pictureWith(90, kMiddle, 220));
    for (const double value : around.values())
        EXPECT_TRUE(std::isfinite(value) && value >= 0 && value <= 1.5) << value;
}

TEST(Shrinker, pixelsAreMeansOfBlocks)
{
    for (const PixelFormat format : {PixelFormat::Gray8, PixelFormat::Rgb24}) {
        for (const int times : {1, 2, 3, 4, 6}) {
            SCOPED_TRACE("1 / " + std::to_string(times));
            const cv::Size size(13, 9);
            const Image image = noise(size.width * times, size.height * times, format);
            Shrinker shrinker(image, size, 1.0 / times);
            const int block = std::min(times, 4);
            const int before = (times - block) / 2; // the block lies in the middle
            for (const int first : {0, 4}) {
                const cv::Mat rows = shrinker.rows(first, 5);
                ASSERT_EQ(rows.size(), cv::Size(13, 5));
                for (int y = 0; y < rows.rows; ++y) {
                    for (int i = 0; i < size.width * image.channels(); ++i) {
                        const int x = i / image.channels();
                        const cv::Rect where(x * times + before, (first + y) * times + before,
                                             block, block);
                        ASSERT_EQ(rows.ptr<std::uint8_t>(y)[i],
                                  meanOf(image, where, i % image.channels()))
                            << x << ", " << first + y;
                    }
                }
            }
        }
    }
}

TEST(EdgeFinder, aStepIsOneEdgeInEveryRow)
{
    HelperThread core;
    // widths and heights at which lanes overlap and the halves meet in different rows
    for (const cv::Size size : {cv::Size(64, 64), {67, 65}, {121, 90}, {80, 91}}) {
        SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
        for (const int column : {2, 20, 33, size.width - 2}) {
            const SearchPicture picture = stepAt(column, size);
            const EdgeFinder finder(picture, core);
            for (const auto &edges : {finder.closed(), finder.plain()}) {
                ASSERT_EQ(edges.size(), static_cast<std::size_t>(size.height - 2));
                for (std::size_t i = 0; i < edges.size(); ++i) {
                    EXPECT_EQ(edges[i].y, static_cast<int>(i) + 1);
                    EXPECT_NEAR(edges[i].x, column, 1);
                    EXPECT_NEAR(std::remainder(edges[i].degrees, 180), 0, 1);
                    EXPECT_FLOAT_EQ(edges[i].weight, 3);
                }
            }
        }
    }
}

TEST(EdgeFinder, anEvenPictureHasNoEdge)
{
    HelperThread core;
    const SearchPicture picture = stepAt(0, {70, 70});
    EXPECT_TRUE(EdgeFinder(picture, core).closed().empty());
    EXPECT_TRUE(EdgeFinder(picture, core).plain().empty());
}

TEST(LineVotes, linesComeBackStrongestFirst)
{
    std::vector<Edge> edges;
    for (int i = 0; i < 150; ++i)
        edges.push_back({static_cast<std::int16_t>(20 + i), 40, 90, 2});
    for (int i = 0; i < 100; ++i)
        edges.push_back({70, static_cast<std::int16_t>(20 + i), 0, 2});
    const std::vector<Line> lines = likelyLines(edges, {200, 160});
    ASSERT_GE(lines.size(), 2U);
    EXPECT_NEAR(std::abs(lines[0].normal.y), 1, 1e-3);
    EXPECT_NEAR(lines[0].distance({100, 40}), 0, 1.5);
    EXPECT_NEAR(std::abs(lines[1].normal.x), 1, 1e-3);
    EXPECT_NEAR(lines[1].distance({70, 100}), 0, 1.5);
}

TEST(LineVotes, fewEdgesAreNoLine)
{
    std::vector<Edge> edges;
    for (int i = 0; i < 7; ++i)
        edges.push_back({static_cast<std::int16_t>(20 + i), 40, 90, 3});
    EXPECT_TRUE(likelyLines(edges, {200, 160}).empty());
    EXPECT_TRUE(likelyLines({}, {200, 160}).empty());
}
