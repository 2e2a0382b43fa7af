// The fast kernels against their plain twins on random bitmaps of odd sizes, then the
// contracts the rest of the program relies on.

#include "imaging/kernels.h"
#include "imaging/kernels_reference.h"
#include "imaging/motion_rows.h"
#include "imaging/rotate_rows.h"
#include "imaging/rotation.h"

#include <cstring>
#include <new>
#include <random>
#include <set>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

// A bitmap in a buffer of exactly its own size, so that the sanitizer sees any stray byte.
struct Bitmap {
    int width = 0, height = 0;
    std::vector<std::uint8_t> bytes;

    Bitmap(int w, int h) : width(w), height(h), bytes(static_cast<std::size_t>(Pitch()) * h) {}
    int Pitch() const { return (width * 3 + 3) & ~3; }
    std::uint8_t* data() { return bytes.data(); }
    const std::uint8_t* data() const { return bytes.data(); }
    // (x, y) from the bottom-left corner, as the kernels count.
    std::uint8_t* At(int x, int y) { return bytes.data() + y * Pitch() + x * 3; }
    const std::uint8_t* At(int x, int y) const { return bytes.data() + y * Pitch() + x * 3; }
    void Randomize(std::mt19937& rng) {
        for (auto& b : bytes)
            b = static_cast<std::uint8_t>(rng());
    }
};

::testing::AssertionResult SamePixels(const Bitmap& a, const Bitmap& b) {
    for (int y = 0; y < a.height; ++y) {
        for (int x = 0; x < a.width; ++x) {
            for (int c = 0; c < 3; ++c) {
                if (a.At(x, y)[c] != b.At(x, y)[c])
                    return ::testing::AssertionFailure()
                           << "pixel " << x << "," << y << " channel " << c << ": "
                           << int(a.At(x, y)[c]) << " vs " << int(b.At(x, y)[c]);
            }
        }
    }
    return ::testing::AssertionSuccess();
}

const int kOddSizes[][2] = {{1, 1}, {2, 3}, {3, 1}, {5, 7}, {17, 9}, {33, 2}, {301, 13}, {7, 40}};

TEST(KernelsMatchReference, ClsColorProcessAndWidening) {
    std::mt19937 rng(1);
    for (const auto& size : kOddSizes) {
        Bitmap fast(size[0], size[1]);
        fast.Randomize(rng);
        Bitmap slow = fast;
        Cls(fast.data(), fast.width, fast.height, 0x89ABCD);
        reference::Cls(slow.data(), slow.width, slow.height, 0x89ABCD);
        EXPECT_TRUE(SamePixels(fast, slow));

        for (int code : {0, 1, 2, 3, 4, 5, 9}) {
            fast.Randomize(rng);
            slow = fast;
            ColorProcess(fast.data(), fast.width, fast.height, code);
            reference::ColorProcess(slow.data(), slow.width, slow.height, code);
            EXPECT_TRUE(SamePixels(fast, slow)) << "code " << code;
        }

        fast.Randomize(rng);
        slow = fast;
        DIB1624(fast.data(), fast.width, fast.height);
        reference::DIB1624(slow.data(), slow.width, slow.height);
        EXPECT_TRUE(SamePixels(fast, slow)) << size[0] << "x" << size[1];
    }
}

TEST(KernelsMatchReference, BlurAndDiff) {
    std::mt19937 rng(2);
    for (const auto& size : kOddSizes) {
        Bitmap source(size[0], size[1]);
        source.Randomize(rng);
        for (int radius : {-1, 1, 2, 3, 6, 40}) { // out-of-range radii are clamped alike
            Bitmap fast(size[0], size[1]), slow(size[0], size[1]);
            Blur(source.data(), fast.data(), fast.height, fast.width, radius);
            reference::Blur(source.data(), slow.data(), slow.height, slow.width, radius);
            EXPECT_TRUE(SamePixels(fast, slow)) << "radius " << radius;
        }
        Bitmap previous(size[0], size[1]);
        previous.Randomize(rng);
        Bitmap fast(size[0], size[1]), slow(size[0], size[1]);
        std::uint32_t fast_bins[256], slow_bins[256];
        Diff(source.data(), previous.data(), fast.data(), fast.width, fast.height, fast_bins);
        reference::Diff(source.data(), previous.data(), slow.data(), slow.width, slow.height,
                        slow_bins);
        EXPECT_TRUE(SamePixels(fast, slow));
        EXPECT_TRUE(std::equal(fast_bins, fast_bins + 256, slow_bins));
    }
    // A wide picture crosses several strips of the fast blur.
    Bitmap wide(700, 5), fast(700, 5), slow(700, 5);
    wide.Randomize(rng);
    Blur(wide.data(), fast.data(), 5, 700, 2);
    reference::Blur(wide.data(), slow.data(), 5, 700, 2);
    EXPECT_TRUE(SamePixels(fast, slow));
}

TEST(KernelsMatchReference, DiffCountAndTheMotionRowLoops) {
    std::mt19937 rng(5);
    for (const auto& size : kOddSizes) {
        Bitmap now(size[0], size[1]), before(size[0], size[1]);
        now.Randomize(rng);
        before.bytes = now.bytes;
        for (std::size_t i = 0; i < before.bytes.size(); i += 1 + rng() % 4) // small changes
            before.bytes[i] = static_cast<std::uint8_t>(before.bytes[i] + rng() % 61 - 30);
        Bitmap difference(size[0], size[1]);
        std::uint32_t bins[256];
        Diff(now.data(), before.data(), difference.data(), now.width, now.height, bins);
        for (auto [dark, bright] : {std::pair{0, 255}, std::pair{110, 140}, std::pair{128, 128}}) {
            const DiffCounts fast =
                DiffCount(now.data(), before.data(), now.width, now.height, dark, bright);
            const DiffCounts slow = reference::DiffCount(now.data(), before.data(), now.width,
                                                         now.height, dark, bright);
            EXPECT_EQ(fast.count, slow.count) << size[0] << "x" << size[1];
            EXPECT_EQ(fast.lowest, slow.lowest);
            EXPECT_EQ(fast.highest, slow.highest);
            // The same figures as the histogram gives.
            std::uint64_t from_bins = 0;
            for (int bin = 0; bin < 256; ++bin)
                from_bins += (bin <= dark ? bins[bin] : 0) + (bin >= bright ? bins[bin] : 0);
            EXPECT_EQ(fast.count, from_bins);
        }
    }
    // The one-pass motion kernel gives what its two steps give.
    for (const auto& size : kOddSizes) {
        Bitmap frame(size[0], size[1]), previous(size[0], size[1]);
        frame.Randomize(rng);
        previous.Randomize(rng);
        for (int radius : {0, 1, 2}) {
            Bitmap fast(size[0], size[1]), slow(size[0], size[1]);
            const DiffCounts one = BlurDiffCount(frame.data(), fast.data(), previous.data(),
                                                 frame.width, frame.height, radius, 100, 160);
            if (radius < 1)
                slow.bytes = frame.bytes;
            else
                reference::Blur(frame.data(), slow.data(), slow.height, slow.width, radius);
            const DiffCounts two = reference::DiffCount(slow.data(), previous.data(), slow.width,
                                                        slow.height, 100, 160);
            EXPECT_TRUE(SamePixels(fast, slow)) << "radius " << radius;
            EXPECT_EQ(one.count, two.count);
            EXPECT_EQ(one.lowest, two.lowest);
            EXPECT_EQ(one.highest, two.highest);
        }
    }
    // Both loops of each kind on rows long enough for every vector step and tail, as a middle
    // strip (reading the pixels beside it) and as a whole row.
    std::vector<std::uint8_t> rows(3 * 700);
    for (auto& b : rows)
        b = static_cast<std::uint8_t>(rng());
    const fixed::BoxDivider divider = fixed::BoxDivider::ForRadius(1);
    for (int n : {3, 48, 99, 3 * 200}) {
        for (bool edges : {false, true}) {
            std::vector<std::uint8_t> a(n), b(n);
            std::vector<std::uint16_t> sa(n + 6), sb(n + 6);
            const std::uint8_t* p = rows.data() + 6;
            kernel::Box3RowScalar(p, p + 700, p + 1400, a.data(), sa.data(), n, edges, edges,
                                  divider);
            kernel::FastestBox3Row()(p, p + 700, p + 1400, b.data(), sb.data(), n, edges, edges,
                                     divider);
            EXPECT_EQ(a, b) << n;
        }
        kernel::DiffTally ta, tb;
        kernel::DiffCountRowScalar(rows.data(), rows.data() + 700, n, 100, 150, ta);
        kernel::FastestDiffCountRow()(rows.data(), rows.data() + 700, n, 100, 150, tb);
        EXPECT_EQ(ta.count, tb.count);
        EXPECT_EQ(ta.lowest, tb.lowest);
        EXPECT_EQ(ta.highest, tb.highest);
    }
}

// A copy of some bytes that ends where an unreadable page begins: reading even one byte past
// them faults, also from vector gathers, which the address sanitizer does not check.
class PageEndCopy {
public:
    explicit PageEndCopy(const std::vector<std::uint8_t>& bytes) {
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        size_ = (bytes.size() + page - 1) / page * page + page;
        void* base =
            mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED) throw std::bad_alloc();
        base_ = static_cast<std::uint8_t*>(base);
        std::uint8_t* guard = base_ + size_ - page;
        mprotect(guard, page, PROT_NONE);
        data_ = guard - bytes.size();
        std::memcpy(data_, bytes.data(), bytes.size());
    }
    PageEndCopy(const PageEndCopy&) = delete;
    PageEndCopy& operator=(const PageEndCopy&) = delete;
    ~PageEndCopy() { munmap(base_, size_); }
    const std::uint8_t* data() const { return data_; }

private:
    std::uint8_t* base_ = nullptr;
    std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

TEST(KernelsMatchReference, RotateAtManyAngles) {
    // Widths that are multiples of 4 leave the last source row without padding, so its last
    // pixel ends the buffer; rows of 8 and more go through the vector loop.
    const int sizes[][2] = {{1, 1},  {2, 3},  {4, 3},  {3, 1},  {8, 8},  {16, 9},  {12, 11},
                            {9, 16}, {33, 2}, {7, 40}, {64, 5}, {5, 64}, {20, 20}, {301, 13}};
    std::vector<float> angles = {44.5f,  44.9f,  45.0f,  45.1f,  45.5f,  89.5f,  90.5f,
                                 134.9f, 135.0f, 135.5f, 224.5f, 225.0f, 225.5f, 314.9f,
                                 315.0f, 315.5f, 359.5f, 1.0f,   17.0f,  133.0f, 222.5f};
    for (int step = 0; step < 48; ++step) // every quarter-turn family, coarsely
        angles.push_back(step * 7.5f);
    std::mt19937 rng(3);
    for (const auto& size : sizes) {
        Bitmap source(size[0], size[1]);
        source.Randomize(rng);
        const PageEndCopy guarded(source.bytes);
        for (float angle : angles) {
            RotationParams params = RotationFor(angle);
            RotatedSize out = RotatedSizeFor(source.width, source.height, params);
            Bitmap fast(out.width, out.height);
            fast.Randomize(rng);
            Bitmap scalar = fast, slow = fast;
            Rotate(guarded.data(), source.width, source.height, fast.data(), fast.width,
                   fast.height, params.angle, params.shear_a, params.shear_b, 0);
            kernel::RotateWith(kernel::RotateLoop::kScalar, source.data(), source.width,
                               source.height, scalar.data(), scalar.width, scalar.height,
                               params.angle, params.shear_a, params.shear_b);
            reference::Rotate(source.data(), source.width, source.height, slow.data(), slow.width,
                              slow.height, params.angle, params.shear_a, params.shear_b, 0);
            ASSERT_TRUE(SamePixels(fast, slow)) << angle << " " << size[0] << "x" << size[1];
            ASSERT_TRUE(SamePixels(scalar, slow)) << angle << " " << size[0] << "x" << size[1];
        }
    }

    // Shears of a whole pixel per pixel, the most any caller uses, keep to the vector loop;
    // far larger ones would overflow its 32-bit lanes (5 + 2^30 times 4 wraps to 20) and must
    // take the 64-bit loop. Both match.
    Bitmap source(16, 9);
    source.Randomize(rng);
    const std::pair<int, int> shears[] = {{65536, 65536},     {-65536, 65536},    {65536, -65536},
                                          {5, (1 << 30) + 5}, {(1 << 30) + 5, 3}, {-(1 << 30), 7}};
    for (const auto& [a, b] : shears) {
        Bitmap fast(40, 24);
        fast.Randomize(rng);
        Bitmap slow = fast;
        Rotate(source.data(), 16, 9, fast.data(), 40, 24, 10, a, b, 0);
        reference::Rotate(source.data(), 16, 9, slow.data(), 40, 24, 10, a, b, 0);
        EXPECT_TRUE(SamePixels(fast, slow)) << a << " " << b;
    }

#if defined(__x86_64__)
    EXPECT_EQ(kernel::RotateHasAvx2(), __builtin_cpu_supports("avx2") != 0);
#endif
}

TEST(KernelsMatchReference, ShadowAndMergeInEveryMode) {
    std::mt19937 rng(4);
    const std::uint32_t palette[] = {0x000000, 0xFFFFFF, 0x102030, 0x112233, 0x808080};
    const TransparentColor table[] = {{0x102030, 2}, {0xFFFFFF, 0}};
    for (const auto& size : kOddSizes) {
        Bitmap source(size[0], size[1]), opacity(size[0], size[1]);
        opacity.Randomize(rng);
        // Mostly palette colours, so that table entries and their tolerance are hit.
        for (int y = 0; y < source.height; ++y) {
            for (int x = 0; x < source.width; ++x) {
                std::uint32_t c = palette[rng() % 5];
                source.At(x, y)[0] = c >> 16, source.At(x, y)[1] = c >> 8, source.At(x, y)[2] = c;
            }
        }
        const int positions[][2] = {{0, 0}, {3, 2}, {-2, 1}, {1, -3}, {20, 5}, {-40, -40}};
        for (const auto& at : positions) {
            for (int mode = 0; mode <= 3; ++mode) {
                for (int level : {0, 1, 128, 254, 255}) {
                    for (int transparency = 0; transparency < 3; ++transparency) {
                        const bool with_opacity = (mode == 3) || (level % 2 == 0);
                        const std::uint32_t single = transparency == 1 ? 0x112233 : kNoColor;
                        Bitmap fast(23, 11);
                        fast.Randomize(rng);
                        Bitmap slow = fast;
                        auto run = [&](auto merge, Bitmap& dst) {
                            merge(dst.data(), dst.width, dst.height, source.data(), source.width,
                                  source.height, at[0], at[1], mode, single, level,
                                  with_opacity ? opacity.data() : nullptr, 0, 0, table, 2,
                                  transparency == 2);
                        };
                        run(Merge, fast);
                        run(reference::Merge, slow);
                        ASSERT_TRUE(SamePixels(fast, slow))
                            << "mode " << mode << " level " << level << " transparency "
                            << transparency << " at " << at[0] << "," << at[1];
                    }
                }
            }
            for (int shadow_size = 1; shadow_size <= 4; ++shadow_size) {
                Bitmap fast(source.width + 4, source.height + 4);
                fast.Randomize(rng);
                Bitmap slow = fast;
                auto run = [&](auto shadow, Bitmap& dst) {
                    shadow(dst.data(), dst.width, dst.height, source.data(), source.width,
                           source.height, at[0] + 2, at[1] + 2, 2, 0x112233, 200,
                           shadow_size % 2 ? opacity.data() : nullptr, shadow_size, 0, 0, table, 2,
                           shadow_size > 2);
                };
                run(Shadow, fast);
                run(reference::Shadow, slow);
                ASSERT_TRUE(SamePixels(fast, slow)) << "size " << shadow_size;
            }
        }
    }
}

TEST(Merge, MergeModeCopiesAtFullLevelAndKeepsAtZeroWithinTheClippedRectangle) {
    std::mt19937 rng(5);
    Bitmap source(6, 4);
    source.Randomize(rng);
    for (const auto& at : {std::pair{0, 0}, {-3, 0}, {0, -2}, {5, 0}, {0, 3}, {-6, 0}, {9, 9}}) {
        Bitmap destination(8, 5);
        destination.Randomize(rng);
        const Bitmap before = destination;
        Merge(destination.data(), 8, 5, source.data(), 6, 4, at.first, at.second, 0, kNoColor, 0,
              nullptr, 0, 0, nullptr, 0, 0);
        EXPECT_TRUE(SamePixels(destination, before)); // level 0 in mode 0 draws nothing
        Merge(destination.data(), 8, 5, source.data(), 6, 4, at.first, at.second, 2, kNoColor, 0,
              nullptr, 0, 0, nullptr, 0, 0);
        EXPECT_TRUE(SamePixels(destination, before));
        Merge(destination.data(), 8, 5, source.data(), 6, 4, at.first, at.second, 2, kNoColor, 255,
              nullptr, 0, 0, nullptr, 0, 0);
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 8; ++x) {
                const int sx = x - at.first, sy = y - at.second;
                const bool covered = sx >= 0 && sx < 6 && sy >= 0 && sy < 4;
                const std::uint8_t* want = covered ? source.At(sx, sy) : before.At(x, y);
                ASSERT_TRUE(std::equal(want, want + 3, destination.At(x, y)))
                    << at.first << "," << at.second << " pixel " << x << "," << y;
            }
        }
    }
}

TEST(Merge, TransparentColoursAreNeverWrittenInAnyMode) {
    Bitmap source(4, 1), opacity(4, 1), destination(4, 1);
    const std::uint32_t colors[] = {0x0000FF, 0x0102FE, 0x00FF00, 0x0A0AF0};
    for (int x = 0; x < 4; ++x) {
        source.At(x, 0)[0] = colors[x] >> 16, source.At(x, 0)[1] = colors[x] >> 8;
        source.At(x, 0)[2] = colors[x];
    }
    std::fill(opacity.bytes.begin(), opacity.bytes.end(), 255);
    const TransparentColor table[] = {{0x0000FF, 2}}; // red, and anything within 2 of it
    for (int mode = 0; mode <= 3; ++mode) {
        for (int level : {1, 100, 255}) {
            std::fill(destination.bytes.begin(), destination.bytes.end(), 77);
            Merge(destination.data(), 4, 1, source.data(), 4, 1, 0, 0, mode, kNoColor, level,
                  mode == 3 ? opacity.data() : nullptr, 0, 0, table, 1, 1);
            EXPECT_EQ(destination.At(0, 0)[2], 77) << mode; // exact match
            EXPECT_EQ(destination.At(1, 0)[2], 77) << mode; // within the tolerance
            EXPECT_NE(destination.At(2, 0)[1], 77) << mode; // green is drawn
            EXPECT_NE(destination.At(3, 0)[2], 77) << mode; // 10 away: drawn
        }
    }
    // Without the table, only the single colour is transparent, and exactly.
    std::fill(destination.bytes.begin(), destination.bytes.end(), 77);
    Merge(destination.data(), 4, 1, source.data(), 4, 1, 0, 0, 2, 0x0000FF, 255, nullptr, 0, 0,
          table, 1, 0);
    EXPECT_EQ(destination.At(0, 0)[2], 77);
    EXPECT_EQ(destination.At(1, 0)[2], 0xFE);
}

TEST(Merge, ShadowsGatherAdditivelyAndDarkenNegatively) {
    Bitmap light(2, 1), gathered(2, 1), layer(2, 1);
    std::fill(light.bytes.begin(), light.bytes.end(), 100);
    const TransparentColor black[] = {{0x000000, 0}};
    Merge(gathered.data(), 2, 1, light.data(), 2, 1, 0, 0, 0, 0, 255, nullptr, 0, 0, black, 1, 1);
    Merge(gathered.data(), 2, 1, light.data(), 2, 1, 1, 0, 0, 0, 255, nullptr, 0, 0, black, 1, 1);
    EXPECT_EQ(gathered.At(0, 0)[0], 100);
    EXPECT_EQ(gathered.At(1, 0)[0], 200); // two shadows overlap
    std::fill(layer.bytes.begin(), layer.bytes.end(), 250);
    Merge(layer.data(), 2, 1, gathered.data(), 2, 1, 0, 0, 1, 0, 128, nullptr, 0, 0, black, 1, 1);
    EXPECT_EQ(layer.At(0, 0)[1], 250 - 50); // half intensity takes half the light away
    EXPECT_EQ(layer.At(1, 0)[1], 250 - 100);
}

// Each source pixel carries its own index, so the output shows where every one went.
Bitmap Numbered(int width, int height) {
    Bitmap b(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int n = y * width + x + 1;
            b.At(x, y)[0] = n & 255, b.At(x, y)[1] = (n >> 8) & 255, b.At(x, y)[2] = n >> 16;
        }
    }
    return b;
}

TEST(Rotate, QuarterTurnsAreExactAndEveryAngleMovesEachPixelOnce) {
    const Bitmap source = Numbered(5, 3);
    for (int angle : {90, 180, 270}) {
        RotationParams params = RotationFor(static_cast<float>(angle));
        EXPECT_EQ(params.shear_a, 0);
        EXPECT_EQ(params.shear_b, 0);
        RotatedSize size = RotatedSizeFor(5, 3, params);
        Bitmap out(size.width, size.height);
        Rotate(source.data(), 5, 3, out.data(), out.width, out.height, angle, 0, 0, 0);
        ASSERT_EQ(out.width, angle == 180 ? 5 : 3);
        // Top-left of the source, seen clockwise: 90 puts it top-right, 180 bottom-right,
        // 270 bottom-left. Rows here are counted from the bottom.
        const std::uint8_t* top_left = source.At(0, 2);
        const std::uint8_t* where = angle == 90    ? out.At(out.width - 1, out.height - 1)
                                    : angle == 180 ? out.At(out.width - 1, 0)
                                                   : out.At(0, 0);
        EXPECT_TRUE(std::equal(top_left, top_left + 3, where)) << angle;
        for (int y = 0; y < out.height; ++y) {
            for (int x = 0; x < out.width; ++x) {
                // Clockwise by 90: output (x, y from the top) came from (y, H - 1 - x).
                const int top = out.height - 1 - y;
                int sx = x, sy_top = top;
                if (angle == 90) sx = top, sy_top = 2 - x;
                if (angle == 180) sx = 4 - x, sy_top = 2 - top;
                if (angle == 270) sx = 4 - top, sy_top = x;
                const std::uint8_t* want = source.At(sx, 2 - sy_top);
                ASSERT_TRUE(std::equal(want, want + 3, out.At(x, y))) << angle;
            }
        }
    }
    const Bitmap big = Numbered(41, 23);
    for (float angle : {3.0f, 17.0f, 30.0f, 45.0f, 45.5f, 89.0f, 160.0f, 250.0f, 315.0f}) {
        RotationParams params = RotationFor(angle);
        RotatedSize size = RotatedSizeFor(41, 23, params);
        Bitmap out(size.width, size.height);
        Rotate(big.data(), 41, 23, out.data(), out.width, out.height, params.angle, params.shear_a,
               params.shear_b, 0);
        std::multiset<int> seen;
        for (int y = 0; y < out.height; ++y) {
            for (int x = 0; x < out.width; ++x) {
                const std::uint8_t* p = out.At(x, y);
                const int n = p[0] | (p[1] << 8) | (p[2] << 16);
                if (n) seen.insert(n);
            }
        }
        EXPECT_EQ(seen.size(), 41u * 23u) << angle;
        EXPECT_EQ(std::set<int>(seen.begin(), seen.end()).size(), 41u * 23u) << angle;
    }
}

TEST(Rotate, PositiveAnglesTurnClockwiseAndSizesFollowTheRules) {
    // A mark near the top-right corner moves down the right side when turned by 30 degrees.
    Bitmap source(40, 20);
    source.At(38, 18)[0] = 255;
    RotationParams params = RotationFor(30.0f);
    RotatedSize size = RotatedSizeFor(40, 20, params);
    EXPECT_EQ((size.width - 40) % 2, 0);
    EXPECT_EQ((size.height - 20) % 2, 0);
    Bitmap out(size.width, size.height);
    Rotate(source.data(), 40, 20, out.data(), out.width, out.height, params.angle, params.shear_a,
           params.shear_b, 0);
    int mark_x = -1, mark_y = -1;
    for (int y = 0; y < out.height; ++y) {
        for (int x = 0; x < out.width; ++x) {
            if (out.At(x, y)[0] == 255) mark_x = x, mark_y = y;
        }
    }
    // Clockwise about the centre: the mark at (18.5, 9) right of and above it goes to about
    // (18.5 cos 30 + 9 sin 30, 9 cos 30 - 18.5 sin 30) = (20.5, -1.5).
    const double cx = (out.width - 1) / 2.0, cy = (out.height - 1) / 2.0;
    EXPECT_NEAR(mark_x - cx, 20.5, 1.5);
    EXPECT_NEAR(mark_y - cy, -1.5, 1.5);

    // 90 degrees swaps the sides exactly; the size for 46..135 never under-covers.
    RotatedSize quarter = RotatedSizeFor(40, 20, RotationFor(90.0f));
    EXPECT_EQ(quarter.width, 20);
    EXPECT_EQ(quarter.height, 40);
    RotatedSize steep = RotatedSizeFor(40, 20, RotationFor(100.0f));
    EXPECT_GE(steep.width, 20);
    EXPECT_GE(steep.height, 40);
}

TEST(Rotate, TheVectorLoopTakesTheLargestPicturesAtAnyAngle) {
    // Up to 3000 x 2000, turned any way or sheared up to a whole pixel per pixel, every sum
    // stays within 32 bits, so such calls never fall back to the scalar loop.
    for (const auto& [w, h] : {std::pair{3000, 2000}, {2000, 3000}, {3000, 1}, {1, 3000}}) {
        for (float angle : {0.0f, 17.0f, 44.9f, 45.0f, 45.5f, 90.0f, 135.0f, 225.0f, 315.0f}) {
            const RotationParams p = RotationFor(angle);
            const RotatedSize size = RotatedSizeFor(w, h, p);
            EXPECT_TRUE(kernel::RotateFitsInt32(w, h, size.width, size.height, p.angle, p.shear_a,
                                                p.shear_b))
                << w << "x" << h << " at " << angle;
        }
        for (int a : {-65536, 65536}) {
            for (int b : {-65536, 65536}) {
                const RotatedSize size = RotatedSizeFor(w, h, {10, a, b});
                EXPECT_TRUE(kernel::RotateFitsInt32(w, h, size.width, size.height, 10, a, b))
                    << w << "x" << h << " sheared " << a << " " << b;
            }
        }
    }
    // Beyond that the sums do leave 32 bits: 65536 * 100000 for the first.
    EXPECT_FALSE(kernel::RotateFitsInt32(3000, 2000, 200000, 4000, 10, 0, 65536));
    EXPECT_FALSE(kernel::RotateFitsInt32(16, 9, 40, 24, 10, 5, (1 << 30) + 5));
    EXPECT_FALSE(kernel::RotateFitsInt32(16, 9, 40, 24, 10, (1 << 30) + 5, 3));
}

TEST(Kernels, SmallContracts) {
    // Cls leaves nothing of the old picture in the last pixel of any row.
    Bitmap b(5, 3);
    std::fill(b.bytes.begin(), b.bytes.end(), 9);
    Cls(b.data(), 5, 3, 0x010203);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(b.At(4, y)[0], 1); // blue is the high byte of a colour
        EXPECT_EQ(b.At(4, y)[2], 3);
    }

    // Grey stays grey under grey-scale; unknown codes change nothing.
    Bitmap c(3, 1);
    for (int x = 0; x < 3; ++x)
        c.At(x, 0)[0] = 10, c.At(x, 0)[1] = 200, c.At(x, 0)[2] = 90;
    ColorProcess(c.data(), 3, 1, 1);
    EXPECT_EQ(c.At(1, 0)[1], 200);
    ColorProcess(c.data(), 3, 1, 2);
    EXPECT_EQ(c.At(1, 0)[0], c.At(1, 0)[2]);
    EXPECT_EQ(c.At(1, 0)[1], (90 * 77 + 200 * 150 + 10 * 29 + 128) >> 8);

    // 15-bit pixels: white, pure blue, pure red.
    Bitmap w(3, 1);
    const std::uint16_t px[3] = {0x7FFF, 0x001F, 0x7C00};
    std::memcpy(w.data(), px, 6);
    DIB1624(w.data(), 3, 1);
    EXPECT_EQ(w.At(0, 0)[0], 255);
    EXPECT_EQ(w.At(0, 0)[2], 255);
    EXPECT_EQ(w.At(1, 0)[0], 255);
    EXPECT_EQ(w.At(1, 0)[2], 0);
    EXPECT_EQ(w.At(2, 0)[2], 255);
    EXPECT_EQ(w.At(2, 0)[0], 0);

    // Still frames: the difference is flat 128 and every channel lands in bin 128.
    Bitmap frame(7, 5), diff(7, 5);
    std::mt19937 rng(6);
    frame.Randomize(rng);
    std::uint32_t bins[256];
    Diff(frame.data(), frame.data(), diff.data(), 7, 5, bins);
    EXPECT_EQ(bins[128], 7u * 5u * 3u);
    EXPECT_EQ(diff.At(6, 4)[2], 128);
}

} // namespace
} // namespace tess
