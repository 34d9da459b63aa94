#include <Orvanta/Variable.h>

#include <CoreKit/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <optional>
#include <regex>
#include <string>
#include <typeinfo>

namespace
{
constexpr std::uint64_t ALL_ONES = std::numeric_limits<std::uint64_t>::max();
constexpr auto NO_SUCH_TYPE = static_cast<EDataType>(6);

CVariable Make(EDataType type, const char* text)
{
    return CVariable::MakeVariable(type, QString::fromUtf8(text), false, QString());
}

/// Expects exactly that class of exception and a text that matches as a whole.
template <class Exception>
void ExpectThrow(const std::function<void()>& body, const std::string& pattern)
{
    try
    {
        body();
        ADD_FAILURE() << "nothing thrown, expected: " << pattern;
    }
    catch (const ZKException& exception)
    {
        EXPECT_EQ(typeid(exception), typeid(Exception)) << exception.what();
        EXPECT_EQ(exception.Status(), TS_ERROR);
        EXPECT_TRUE(std::regex_match(exception.what(), std::regex(pattern))) << exception.what();
    }
}
} // namespace

TEST(Variable, LiteralsOfEveryType)
{
    const struct
    {
        EDataType type;
        const char* text;
        std::uint64_t slot;
    } rows[] = {
        {DT_BYTE, "0x1F", 31},
        {DT_BYTE, "017", 15},
        {DT_BYTE, " \t42 ", 42},
        {DT_BYTE, "True", 1},
        {DT_BYTE, "FALSE", 0},
        {DT_BYTE, "Null", 0},
        {DT_BYTE, "", 0},
        {DT_BYTE, "abc", 0},
        {DT_BYTE, " true", 0}, // words are not trimmed, and this is no number
        {DT_BYTE, "300", 300}, // whole in the slot
        {DT_SHORT, "0x12345", 0x12345},
        {DT_LONG, "08", 0},
        {DT_LONG, "-1", 0},
        {DT_LONG, "12 13", 0},
        {DT_LONG, "0xFFFFFFFFFFFFFFFF", ALL_ONES},
        {DT_LONGLONG, "18446744073709551615", ALL_ONES},
        {DT_LONGLONG, "18446744073709551616", 0},
        {DT_BOOL, "5", 1},
        {DT_BOOL, " 0x100 ", 1},
        {DT_BOOL, "0", 0},
        {DT_BOOL, "tRUE", 1},
        {DT_BOOL, "NULL", 0},
        {DT_BOOL, "yes", 0},
        {DT_PVOID, "null", 0},
        {DT_PVOID, "False", 0},
        {DT_PVOID, "", 0},
        {DT_PVOID, "true", 0},
        {DT_PVOID, " 0x1000 ", 0x1000},
        {DT_PVOID, "010", 8},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.text);
        const CVariable variable = Make(row.type, row.text);
        EXPECT_EQ(variable.Type(), row.type);
        EXPECT_EQ(variable.View<std::uint64_t>(), row.slot);
    }
    EXPECT_EQ(Make(DT_BYTE, "300").View<std::uint8_t>(), 44);
}

TEST(Variable, KeepsWhatItIsMadeOf)
{
    const CVariable variable = CVariable::MakeVariable(DT_LONG, QStringLiteral("7"), true, QStringLiteral("TAG"));
    CVariable copy;
    EXPECT_EQ(copy.Type(), DT_NONE);
    EXPECT_FALSE(copy.IsDefine());
    EXPECT_EQ(copy.View<std::uint64_t>(), 0U);
    copy = variable;
    EXPECT_EQ(copy.Type(), DT_LONG);
    EXPECT_TRUE(copy.IsDefine());
    EXPECT_EQ(copy.Config(), QStringLiteral("TAG"));
    copy.Set(std::uint64_t{8}, DT_LONG);
    EXPECT_EQ(copy.View<std::uint32_t>(), 8U);
    EXPECT_EQ(variable.View<std::uint32_t>(), 7U);
}

TEST(Variable, Limits)
{
    const struct
    {
        EDataType type;
        std::optional<std::uint64_t> size;
        std::optional<std::uint64_t> value;
    } rows[] = {
        {DT_NONE, {}, {}},
        {DT_PVOID, ALL_ONES, {}},
        {DT_BOOL, 1, {}},
        {DT_BYTE, 0xFF, 0xFF},
        {DT_SHORT, 0xFFFF, 0xFFFF},
        {DT_LONG, 0xFFFFFFFF, 0xFFFFFFFF},
        {DT_LONGLONG, ALL_ONES, ALL_ONES},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.type);
        const CVariable variable = row.type == DT_NONE ? CVariable() : Make(row.type, "0");
        const std::string type = std::to_string(row.type);
        if (row.size)
        {
            EXPECT_EQ(variable.MaxSize(), *row.size);
        }
        else
        {
            ExpectThrow<CTestSuiteException>([&] { variable.MaxSize(); },
                                             R"(\nZKEngine/Orvanta/Variable\(\d+\): CVariable::MaxSize:\n)"
                                             "Invalid variable data type: " +
                                                 type);
        }
        if (row.value)
        {
            EXPECT_EQ(variable.MaxValue(), *row.value);
        }
        else
        {
            ExpectThrow<ZKException>([&] { variable.MaxValue(); },
                                     R"(\nZKEngine/Orvanta/Variable\(\d+\): CVariable::MaxValue:\n)"
                                     R"(Only a numeric type can have a maximum value\.  \(Type = )" +
                                         type + R"(\))");
        }
    }
}

TEST(Variable, SetWritesOnlyTheViewOfItsType)
{
    const struct
    {
        EDataType type;
        std::uint64_t value;
        std::uint64_t slot;
    } rows[] = {
        {DT_BYTE, 0x1234, 0xFFFFFFFFFFFFFF34},     {DT_BOOL, 7, 0xFFFFFFFFFFFFFF01},
        {DT_BOOL, 0x100, 0xFFFFFFFFFFFFFF01},      {DT_BOOL, 0, 0xFFFFFFFFFFFFFF00},
        {DT_SHORT, 0x123456, 0xFFFFFFFFFFFF3456},  {DT_LONG, 0x123456789A, 0xFFFFFFFF3456789A},
        {DT_LONGLONG, 0x123456789A, 0x123456789A}, {DT_PVOID, 0x1000, 0x1000},
    };
    for (const auto& row : rows)
    {
        CVariable variable = Make(DT_LONGLONG, "0xFFFFFFFFFFFFFFFF");
        variable.Set(row.value, row.type);
        EXPECT_EQ(variable.Type(), row.type);
        EXPECT_EQ(variable.View<std::uint64_t>(), row.slot) << row.type;
    }
    CVariable variable = Make(DT_LONG, "0xFFFFFFFF00000000");
    variable.Set(true, DT_LONG);
    EXPECT_EQ(variable.View<std::uint64_t>(), 0xFFFFFFFF00000001);
}

TEST(Variable, DiagnosticTexts)
{
    const struct
    {
        EDataType type;
        const char* value;
        const char* text;
    } rows[] = {
        {DT_BYTE, "5", "BYTE: 0x05 (5)"},
        {DT_BYTE, "0x3AB", "BYTE: 0xAB (171)"},
        {DT_SHORT, "0xABC", "SHORT: 0x0ABC (2748)"},
        {DT_LONG, "255", "LONG: 0x000000FF (255)"},
        {DT_LONG, "0x1FFFFFFFF", "LONG: 0xFFFFFFFF (4294967295)"},
        {DT_LONGLONG, "0xABCDEF0123", "LONGLONG: 0x000000ABCDEF0123 (737894400291)"},
        {DT_BOOL, "1", "BOOL: TRUE"},
        {DT_BOOL, "0", "BOOL: FALSE"},
        {DT_PVOID, "0x1000", "PVOID: 0x1000"},
    };
    for (const auto& row : rows)
    {
        CVariable variable = Make(row.type, row.value);
        EXPECT_EQ(variable.GetDiagnosticString(false).toStdString(), row.text);
        const CSafeString address = FormatText(", addr=%p", static_cast<void*>(variable.Reference<std::uint64_t>()));
        EXPECT_EQ(variable.GetDiagnosticString(true).toStdString(), row.text + std::string(address.c_str()));
    }
}

TEST(Variable, WhatIsNoTypeIsRefused)
{
    for (const EDataType type : {DT_NONE, NO_SUCH_TYPE})
    {
        const std::string number = std::to_string(type);
        ExpectThrow<ZKDOMDocException>([&] { Make(type, "1"); },
                                       R"(\nZKEngine/Orvanta/Variable\(\d+\): CVariable::MakeVariable:\n)"
                                       "Invalid variable type: " +
                                           number);
        CVariable variable = Make(DT_LONG, "1");
        ExpectThrow<ZKRunTimeException>([&] { variable.Set(std::uint64_t{2}, type); },
                                        R"(\nZKEngine/Orvanta/Variable\(\d+\): CVariable::Set:\n)"
                                        "Unexpected Variable type: " +
                                            number + R"(\.)");
        EXPECT_EQ(variable.View<std::uint64_t>(), 1U);
    }
    ExpectThrow<ZKDOMDocException>([] { CVariable().GetDiagnosticString(false); },
                                   R"(\nZKEngine/Orvanta/Variable\(\d+\): CVariable::GetDiagnosticString:\n)"
                                   "Invalid variable type: -1");
}

TEST(Variable, TypeNames)
{
    const std::pair<const char*, EDataType> types[] = {
        {"PVOID", DT_PVOID}, {"BOOL", DT_BOOL}, {"BYTE", DT_BYTE},
        {"SHORT", DT_SHORT}, {"LONG", DT_LONG}, {"LONGLONG", DT_LONGLONG},
    };
    int number = 0;
    for (const auto& [name, type] : types)
    {
        EXPECT_EQ(type, number++);
        EXPECT_EQ(TypeNameToType(QString::fromUtf8(name)), type);
        EXPECT_EQ(TypeToTypeName(type), name);
    }
    for (const EDataType type : {DT_NONE, NO_SUCH_TYPE})
    {
        EXPECT_EQ(TypeToTypeName(type), "Unknown Type>");
    }
    for (const char* name : {"long", "Long", "", "LONG ", "DT_LONG"})
    {
        ExpectThrow<ZKDOMDocException>([&] { TypeNameToType(QString::fromUtf8(name)); },
                                       std::string("Invalid variable type: ") + name + R"(\.)");
    }
}
