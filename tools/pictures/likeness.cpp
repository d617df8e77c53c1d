// How alike two pictures must be, and the words for it.
#include "tools/pictures/likeness.h"

#include <cstdio>

namespace vesk::ctl {

namespace {

double DifferencePercent(const pictures::Comparison& comparison)
{
    return 100 * (1 - comparison.similarity);
}

std::string NumberText(double number, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", digits, number);
    return text;
}

} // namespace

bool IsAlike(const pictures::Comparison& comparison, double tolerance)
{
    return comparison.differentPixels == 0 || (tolerance > 0 && DifferencePercent(comparison) <= tolerance);
}

std::string LikenessText(const pictures::Comparison& comparison)
{
    return "similarity " + NumberText(comparison.similarity, 9) + ", " +
           std::to_string(comparison.differentPixels) + " of " +
           std::to_string(comparison.marked.size.Pixels()) + " pixels differ";
}

std::string DifferenceText(const pictures::Comparison& comparison, double tolerance)
{
    return "differ by " + NumberText(DifferencePercent(comparison), 3) + " %, more than " +
           NumberText(tolerance, 6) + " %";
}

} // namespace vesk::ctl
