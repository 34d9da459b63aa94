#include <Support/RecordingHost.h>

#include <Orvanta/Variable.h>

#include <limits>

namespace
{
constexpr std::uint64_t ALL_ONES = std::numeric_limits<std::uint64_t>::max();
constexpr auto NO_SUCH_TYPE = static_cast<EDataType>(6);

CVariable Make(EDataType type, const char* text)
{
    return CVariable::MakeVariable(type, QString::fromUtf8(text), false, QString());
}

/// What a message about a function starts with.
std::string In(const std::string& function)
{
    return "\nZKEngine/Orvanta/Variable(LINE): CVariable::" + function + ":\n";
}
} // namespace

TEST(Variable, LiteralsOfEveryType)
{
    // Words are not trimmed, and " true" is no number; a byte's 300 is whole in the slot.
    // clang-format off
    const std::tuple<EDataType, const char*, std::uint64_t> rows[] = {
        {DT_BYTE, "0x1F", 31}, {DT_BYTE, "017", 15}, {DT_BYTE, " \t42 ", 42}, {DT_BYTE, "300", 300},
        {DT_BYTE, "True", 1}, {DT_BYTE, "FALSE", 0}, {DT_BYTE, "Null", 0}, {DT_BYTE, "", 0}, {DT_BYTE, " true", 0},
        {DT_LONG, "08", 0}, {DT_LONG, "-1", 0}, {DT_LONG, "+5", 5}, {DT_LONG, "0b11", 0}, {DT_BOOL, " +0B1", 0}, {DT_PVOID, "-0b1", 0},
        {DT_LONGLONG, "18446744073709551615", ALL_ONES}, {DT_LONGLONG, "18446744073709551616", 0},
        {DT_BOOL, " 0x100 ", 1}, {DT_BOOL, "0", 0}, {DT_BOOL, "tRUE", 1}, {DT_BOOL, "yes", 0},
        {DT_PVOID, " 0x1000 ", 0x1000}, {DT_PVOID, "null", 0}, {DT_PVOID, "true", 0},
    };
    // clang-format on
    for (const auto& [type, text, slot] : rows)
    {
        const CVariable variable = Make(type, text);
        EXPECT_EQ(variable.Type(), type) << text;
        EXPECT_EQ(variable.View<std::uint64_t>(), slot) << text;
    }
    EXPECT_EQ(Make(DT_BYTE, "300").View<std::uint8_t>(), 44);
}

TEST(Variable, Limits)
{
    const std::pair<EDataType, std::uint64_t> rows[] = {
        {DT_PVOID, ALL_ONES}, {DT_BOOL, 1},          {DT_BYTE, 0xFF},
        {DT_SHORT, 0xFFFF},   {DT_LONG, 0xFFFFFFFF}, {DT_LONGLONG, ALL_ONES},
    };
    const auto expectNoMaximum = [](const CVariable& variable)
    {
        EXPECT_EQ(ThrownText<ZKException>([&] { variable.MaxValue(); }),
                  In("MaxValue") + "Only a numeric type can have a maximum value.  (Type = " +
                      std::to_string(variable.Type()) + ")");
    };
    for (const auto& [type, limit] : rows)
    {
        const CVariable variable = Make(type, "0");
        EXPECT_EQ(variable.MaxSize(), limit);
        if (type == DT_PVOID || type == DT_BOOL)
        {
            expectNoMaximum(variable);
        }
        else
        {
            EXPECT_EQ(variable.MaxValue(), limit);
        }
    }
    expectNoMaximum(CVariable());
    EXPECT_EQ(ThrownText<CTestSuiteException>([] { CVariable().MaxSize(); }),
              In("MaxSize") + "Invalid variable data type: -1");
}

TEST(Variable, SetWritesOnlyTheViewOfItsType)
{
    // clang-format off
    const std::tuple<EDataType, std::uint64_t, std::uint64_t> rows[] = {
        {DT_BYTE, 0x1234, 0xFFFFFFFFFFFFFF34}, {DT_BOOL, 0x100, 0xFFFFFFFFFFFFFF01}, {DT_BOOL, 0, 0xFFFFFFFFFFFFFF00},
        {DT_SHORT, 0x123456, 0xFFFFFFFFFFFF3456}, {DT_LONG, 0x123456789A, 0xFFFFFFFF3456789A},
        {DT_LONGLONG, 0x123456789A, 0x123456789A}, {DT_PVOID, 0x1000, 0x1000},
    };
    // clang-format on
    for (const auto& [type, value, slot] : rows)
    {
        CVariable variable = Make(DT_LONGLONG, "0xFFFFFFFFFFFFFFFF");
        variable.Set(value, type);
        EXPECT_EQ(variable.Type(), type);
        EXPECT_EQ(variable.View<std::uint64_t>(), slot) << type;
    }
    CVariable variable = Make(DT_LONG, "0xFFFFFFFF00000000");
    variable.Set(true, DT_LONG);
    EXPECT_EQ(variable.View<std::uint64_t>(), 0xFFFFFFFF00000001);
}

TEST(Variable, DiagnosticTexts)
{
    // clang-format off
    const std::tuple<EDataType, const char*, const char*> rows[] = {
        {DT_BYTE, "0x305", "BYTE: 0x05 (5)"}, {DT_SHORT, "0xABC", "SHORT: 0x0ABC (2748)"},
        {DT_LONG, "255", "LONG: 0x000000FF (255)"}, {DT_LONG, "0x1FFFFFFFF", "LONG: 0xFFFFFFFF (4294967295)"},
        {DT_LONGLONG, "0xABCDEF0123", "LONGLONG: 0x000000ABCDEF0123 (737894400291)"},
        {DT_BOOL, "1", "BOOL: TRUE"}, {DT_BOOL, "0", "BOOL: FALSE"}, {DT_PVOID, "0x1000", "PVOID: 0x1000"},
    };
    // clang-format on
    for (const auto& [type, value, text] : rows)
    {
        CVariable variable = Make(type, value);
        EXPECT_EQ(variable.GetDiagnosticString(false).toStdString(), text);
        const CSafeString address = FormatText(", addr=%p", static_cast<void*>(variable.Reference<std::uint64_t>()));
        EXPECT_EQ(variable.GetDiagnosticString(true).toStdString(), text + std::string(address.c_str()));
    }
}

TEST(Variable, WhatIsNoTypeIsRefused)
{
    for (const EDataType type : {DT_NONE, NO_SUCH_TYPE})
    {
        const std::string number = std::to_string(type);
        EXPECT_EQ(ThrownText<ZKDOMDocException>([&] { Make(type, "1"); }),
                  In("MakeVariable") + "Invalid variable type: " + number);
        CVariable variable = Make(DT_LONG, "1");
        EXPECT_EQ(ThrownText<ZKRunTimeException>([&] { variable.Set(std::uint64_t{2}, type); }),
                  In("Set") + "Unexpected Variable type: " + number + ".");
        EXPECT_EQ(variable.View<std::uint64_t>(), 1U);
        EXPECT_EQ(TypeToTypeName(type), "Unknown Type>");
    }
    EXPECT_EQ(ThrownText<ZKDOMDocException>([] { CVariable().GetDiagnosticString(false); }),
              In("GetDiagnosticString") + "Invalid variable type: -1");
}

TEST(Variable, TypeNames)
{
    int number = 0;
    for (const char* name : {"PVOID", "BOOL", "BYTE", "SHORT", "LONG", "LONGLONG"})
    {
        EXPECT_EQ(TypeNameToType(QString::fromUtf8(name)), number);
        EXPECT_EQ(TypeToTypeName(static_cast<EDataType>(number++)), name);
    }
    for (const char* name : {"long", "", "LONG "})
    {
        EXPECT_EQ(ThrownText<ZKDOMDocException>([&] { TypeNameToType(QString::fromUtf8(name)); }),
                  std::string("Invalid variable type: ") + name + ".");
    }
}
