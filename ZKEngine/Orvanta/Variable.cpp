#include <Orvanta/Variable.h>

#include <CoreKit/Exceptions.h>
#include <CoreKit/Format.h>

#include <bit>
#include <map>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/Variable";

/// Qt also reads "0b11" as binary; in a suite it is no number.
bool IsBinary(QStringView number)
{
    const bool hasSign = number.startsWith(QLatin1Char('+')) || number.startsWith(QLatin1Char('-'));
    return number.mid(hasSign ? 1 : 0).startsWith(QLatin1String("0b"), Qt::CaseInsensitive);
}

bool ParseTrimmedNumber(const QString& text, std::uint64_t& value)
{
    const QString number = text.trimmed();
    bool valid = false;
    value = number.toULongLong(&valid, 0);
    valid = valid && !IsBinary(number);
    value = valid ? value : 0;
    return valid;
}
} // namespace

EDataType TypeNameToType(const QString& name)
{
    for (const EDataType type : DATA_TYPES)
    {
        if (name == QLatin1String(TypeToTypeName(type).c_str()))
        {
            return type;
        }
    }
    ThrowFormatted<ZKDOMDocException>("Invalid variable type: %s.", qUtf8Printable(name));
}

const CSafeString& TypeToTypeName(EDataType type)
{
    static const std::map<EDataType, CSafeString> names = {
        {DT_PVOID, "PVOID"}, {DT_BOOL, "BOOL"}, {DT_BYTE, "BYTE"},
        {DT_SHORT, "SHORT"}, {DT_LONG, "LONG"}, {DT_LONGLONG, "LONGLONG"},
    };
    static const CSafeString unknown("Unknown Type>");

    const auto found = names.find(type);
    return found == names.end() ? unknown : found->second;
}

std::size_t DataTypeWidth(EDataType type)
{
    switch (type)
    {
    case DT_BOOL:
    case DT_BYTE:
        return 1;
    case DT_SHORT:
        return 2;
    case DT_LONG:
        return 4;
    case DT_PVOID:
    case DT_LONGLONG:
        return 8;
    default:
        return 0;
    }
}

CVariable CVariable::MakeVariable(EDataType type, const QString& value, bool isDefine, const QString& config)
{
    if (DataTypeWidth(type) == 0)
    {
        ThrowAt<ZKDOMDocException>({SOURCE_FILE, __LINE__, "CVariable::MakeVariable"}, "Invalid variable type: %d",
                                   type);
    }
    CVariable variable;
    variable.m_Type = type;
    variable.m_IsDefine = isDefine;
    variable.m_Config = config;
    variable.SetSlot(ParseLiteral(type, value).value_or(0));
    return variable;
}

void CVariable::Store(std::uint64_t value, EDataType type)
{
    m_Type = type;
    if (DataTypeWidth(type) == 0)
    {
        ThrowAt<ZKRunTimeException>({SOURCE_FILE, __LINE__, "CVariable::Set"}, "Unexpected Variable type: %d.", type);
    }
    const std::uint64_t stored = type == DT_BOOL ? std::uint64_t{value != 0} : value;
    static_assert(std::endian::native == std::endian::little, "a narrow view is the slot's low bytes");
    std::memcpy(m_Value.data(), &stored, DataTypeWidth(type));
}

std::uint64_t CVariable::MaxSize() const
{
    if (m_Type == DT_BOOL)
    {
        return 1;
    }
    const std::size_t width = DataTypeWidth(m_Type);
    if (width == 0)
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CVariable::MaxSize"}, "Invalid variable data type: %d",
                                     m_Type);
    }
    return ~std::uint64_t{0} >> (64 - 8 * width);
}

std::uint64_t CVariable::MaxValue() const
{
    if (m_Type < DT_BYTE || m_Type > DT_LONGLONG)
    {
        ThrowAt<ZKException>({SOURCE_FILE, __LINE__, "CVariable::MaxValue"},
                             "Only a numeric type can have a maximum value.  (Type = %d)", m_Type);
    }
    return MaxSize();
}

namespace
{
CSafeString ValueText(const CVariable& variable)
{
    switch (variable.Type())
    {
    case DT_PVOID:
        return FormatText("%p", variable.View<void*>());
    case DT_BOOL:
        return variable.View<bool>() ? "TRUE" : "FALSE";
    case DT_BYTE:
    {
        const unsigned value = variable.View<std::uint8_t>();
        return FormatText("0x%02X (%u)", value, value);
    }
    case DT_SHORT:
    {
        const unsigned value = variable.View<std::uint16_t>();
        return FormatText("0x%04X (%u)", value, value);
    }
    case DT_LONG:
    {
        const unsigned value = variable.View<std::uint32_t>();
        return FormatText("0x%08lX (%u)", static_cast<unsigned long>(value), value);
    }
    case DT_LONGLONG:
    {
        const unsigned long long value = variable.View<std::uint64_t>();
        return FormatText("0x%016llX (%llu)", value, value);
    }
    default:
        ThrowAt<ZKDOMDocException>({SOURCE_FILE, __LINE__, "CVariable::GetDiagnosticString"},
                                   "Invalid variable type: %d", variable.Type());
    }
}
} // namespace

QString CVariable::GetDiagnosticString(bool withAddress)
{
    const CSafeString value = ValueText(*this);
    const char* type = TypeToTypeName(m_Type).c_str();
    const CSafeString text = withAddress
        ? FormatText("%s: %s, addr=%p", type, value.c_str(), static_cast<void*>(m_Value.data()))
        : FormatText("%s: %s", type, value.c_str());
    m_DiagnosticString = QString::fromUtf8(text.c_str());
    return m_DiagnosticString;
}

bool ParseBoolWord(std::string_view text, std::uint64_t& value)
{
    const CSafeString word = ToLower(text);
    if (word == "true")
    {
        value = 1;
        return true;
    }
    if (word.empty() || word == "false" || word == "null")
    {
        value = 0;
        return true;
    }
    return false;
}

bool ParseNumberLiteral(const QString& text, std::uint64_t& value)
{
    return ParseBoolWord(text.toStdString(), value) || ParseTrimmedNumber(text, value);
}

bool ParseBoolLiteral(const QString& text, std::uint8_t& value)
{
    std::uint64_t number = 0;
    const bool valid = ParseNumberLiteral(text, number);
    value = number != 0 ? 1 : 0;
    return valid;
}

bool ParsePointerLiteral(const QString& text, void*& value)
{
    std::uint64_t number = 0;
    const bool isNullWord = ParseBoolWord(text.toStdString(), number) && number == 0;
    const bool valid = isNullWord || ParseTrimmedNumber(text, number);
    value = reinterpret_cast<void*>(number);
    return valid;
}

std::optional<std::uint64_t> ParseLiteral(EDataType type, const QString& text)
{
    std::uint64_t number = 0;
    bool isValid = false;
    if (type == DT_PVOID)
    {
        void* pointer = nullptr;
        isValid = ParsePointerLiteral(text, pointer);
        number = reinterpret_cast<std::uint64_t>(pointer);
    }
    else if (type == DT_BOOL)
    {
        std::uint8_t flag = 0;
        isValid = ParseBoolLiteral(text, flag);
        number = flag;
    }
    else
    {
        isValid = ParseNumberLiteral(text, number);
    }
    return isValid ? std::optional(number) : std::nullopt;
}
