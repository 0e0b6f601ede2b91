#include "codecs/PNGFilters.h"

#include "imaging/Vectorised.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

/// Of the bytes to the left, above and above left the one nearest to left + above - above left.
int predicted(int left, int above, int corner)
{
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    if (toLeft <= toAbove && toLeft <= toCorner)
        return left;
    return toAbove <= toCorner ? above : corner;
}

/// Absolute value of a byte as a signed number.
uint size(uchar difference)
{
    return difference < 128 ? difference : 256U - difference;
}

QF_VECTORISED quint64 applyNone(const uchar *row, qsizetype length, uchar *result)
{
    quint64 sum = 0;
    for (qsizetype i = 0; i < length; ++i) {
        result[i] = row[i];
        sum += size(result[i]);
    }
    return sum;
}

QF_VECTORISED quint64 applyDifference(const uchar *row, const uchar *other, qsizetype length, uchar *result)
{
    quint64 sum = 0;
    for (qsizetype i = 0; i < length; ++i) {
        result[i] = static_cast<uchar>(row[i] - other[i]);
        sum += size(result[i]);
    }
    return sum;
}

QF_VECTORISED quint64 applyMean(const uchar *row, const uchar *above, qsizetype length, int step,
                                uchar *result)
{
    const uchar *left = row - step;
    quint64 sum = 0;
    for (qsizetype i = 0; i < length; ++i) {
        result[i] = static_cast<uchar>(row[i] - ((left[i] + above[i]) >> 1));
        sum += size(result[i]);
    }
    return sum;
}

QF_VECTORISED quint64 applyPaeth(const uchar *row, const uchar *above, qsizetype length, int step,
                                 uchar *result)
{
    const uchar *left = row - step;
    const uchar *corner = above - step;
    quint64 sum = 0;
    for (qsizetype i = 0; i < length; ++i) {
        result[i] = static_cast<uchar>(row[i] - predicted(left[i], above[i], corner[i]));
        sum += size(result[i]);
    }
    return sum;
}

QF_VECTORISED void undoUp(uchar *row, const uchar *above, qsizetype length)
{
    for (qsizetype i = 0; i < length; ++i)
        row[i] = static_cast<uchar>(row[i] + above[i]);
}

void undoMean(uchar *row, const uchar *above, qsizetype length, int step)
{
    for (qsizetype i = 0; i < length; ++i)
        row[i] = static_cast<uchar>(row[i] + ((row[i - step] + above[i]) >> 1));
}

#ifdef __SSE2__

/// Up to four bytes, as four numbers of 16 bits.
__m128i pixelAt(const uchar *bytes)
{
    int four = 0;
    std::memcpy(&four, bytes, sizeof four);
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128());
}

void putPixel(__m128i pixel, uchar *bytes, int step)
{
    const int four = _mm_cvtsi128_si32(_mm_packus_epi16(pixel, pixel));
    std::memcpy(bytes, &four, static_cast<size_t>(step));
}

__m128i absolute(__m128i values)
{
    return _mm_max_epi16(values, _mm_sub_epi16(_mm_setzero_si128(), values));
}

__m128i chosen(__m128i mask, __m128i yes, __m128i no)
{
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

/// All components of a pixel at once; pixels depend on each other.
void undoPaeth(uchar *row, const uchar *above, qsizetype length, int step)
{
    const __m128i byte = _mm_set1_epi16(0xFF);
    __m128i left = _mm_setzero_si128();
    __m128i corner = _mm_setzero_si128();
    for (qsizetype i = 0; i < length; i += step) {
        const __m128i up = pixelAt(above + i);
        const __m128i leftward = _mm_sub_epi16(up, corner);
        const __m128i upward = _mm_sub_epi16(left, corner);
        const __m128i toLeft = absolute(leftward);
        const __m128i toAbove = absolute(upward);
        const __m128i toCorner = absolute(_mm_add_epi16(leftward, upward));
        const __m128i least = _mm_min_epi16(toLeft, _mm_min_epi16(toAbove, toCorner));
        const __m128i nearest =
            chosen(_mm_cmpeq_epi16(least, toLeft), left, chosen(_mm_cmpeq_epi16(least, toAbove), up, corner));
        left = _mm_and_si128(_mm_add_epi16(pixelAt(row + i), nearest), byte);
        corner = up;
        putPixel(left, row + i, step);
    }
}

void undoLeft(uchar *row, qsizetype length, int step)
{
    __m128i left = _mm_setzero_si128();
    for (qsizetype i = 0; i < length; i += step) {
        left = _mm_and_si128(_mm_add_epi16(pixelAt(row + i), left), _mm_set1_epi16(0xFF));
        putPixel(left, row + i, step);
    }
}

#else

void undoPaeth(uchar *row, const uchar *above, qsizetype length, int step)
{
    for (qsizetype i = 0; i < length; ++i)
        row[i] = static_cast<uchar>(row[i] + predicted(row[i - step], above[i], above[i - step]));
}

void undoLeft(uchar *row, qsizetype length, int step)
{
    for (qsizetype i = 0; i < length; ++i)
        row[i] = static_cast<uchar>(row[i] + row[i - step]);
}

#endif

} // namespace

quint64 PNGFilters::apply(Filter filter, const uchar *row, const uchar *above, qsizetype length, int step,
                          uchar *result)
{
    switch (filter) {
    case None:
        break;
    case Left:
        return applyDifference(row, row - step, length, result);
    case Up:
        return applyDifference(row, above, length, result);
    case Mean:
        return applyMean(row, above, length, step, result);
    case Paeth:
        return applyPaeth(row, above, length, step, result);
    }
    return applyNone(row, length, result);
}

bool PNGFilters::undo(quint8 filter, uchar *row, const uchar *above, qsizetype length, int step)
{
    switch (filter) {
    case None:
        return true;
    case Left:
        undoLeft(row, length, step);
        return true;
    case Up:
        undoUp(row, above, length);
        return true;
    case Mean:
        undoMean(row, above, length, step);
        return true;
    case Paeth:
        undoPaeth(row, above, length, step);
        return true;
    default:
        return false;
    }
}
