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
    return std::isfinite(value) && !(value < lower) && !(value > upper);
}

std::string SMeasurement::Text(bool isWithin) const
{
    const std::string from = !std::isnan(lower) ? "from " + Number(lower) : "";
    const std::string to = !std::isnan(upper) ? "to " + Number(upper) : "";
    const std::string limits = from + (from.empty() || to.empty() ? "" : " ") + to;
    std::string text = Number(value);
    text += unit.empty() ? "" : ' ' + std::string(unit);
    text += limits.empty() ? "" : " (" + limits + ')';
    return text + (isWithin ? "" : ", out of limits");
}
