#include <CoreKit/Measurement.h>

#include <array>
#include <charconv>
#include <cmath>

namespace
{
std::string Number(double value)
{
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}
} // namespace

bool SMeasurement::IsWithin() const
{
    return !std::isnan(value) && !(std::isfinite(lower) && value < lower) && !(std::isfinite(upper) && value > upper);
}

std::string SMeasurement::Text() const
{
    const std::string from = std::isfinite(lower) ? "from " + Number(lower) : "";
    const std::string to = std::isfinite(upper) ? "to " + Number(upper) : "";
    const std::string limits = from + (from.empty() || to.empty() ? "" : " ") + to;
    std::string text = Number(value);
    text += unit.empty() ? "" : ' ' + std::string(unit);
    text += limits.empty() ? "" : " (" + limits + ')';
    return text + (IsWithin() ? "" : ", out of limits");
}
