#include <Support/RecordingHost.h>

#include <Orvanta/VariableList.h>

#include <CoreKit/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>

namespace
{
QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

template <auto Getter>
std::uint64_t Word(const CVariableList& list, const QString& text)
{
    const auto value = (list.*Getter)(text);
    if constexpr (std::is_pointer_v<decltype(value)>)
    {
        return reinterpret_cast<std::uint64_t>(value);
    }
    else
    {
        return value;
    }
}

const struct SType
{
    EDataType type;
    std::string name;
    int width;
    std::uint64_t (*value)(const CVariableList& list, const QString& text);
    std::uint64_t (*reference)(const CVariableList& list, const QString& text);
} TYPES[] = {
    {DT_PVOID, "PVOID", 8, Word<&CVariableList::GetPVoid>, Word<&CVariableList::GetPVoidRef>},
    {DT_BOOL, "BOOL", 1, Word<&CVariableList::GetBool>, Word<&CVariableList::GetBoolRef>},
    {DT_BYTE, "BYTE", 1, Word<&CVariableList::GetByte>, Word<&CVariableList::GetByteRef>},
    {DT_SHORT, "SHORT", 2, Word<&CVariableList::GetShort>, Word<&CVariableList::GetShortRef>},
    {DT_LONG, "LONG", 4, Word<&CVariableList::GetLong>, Word<&CVariableList::GetLongRef>},
    {DT_LONGLONG, "LONGLONG", 8, Word<&CVariableList::GetLonglong>, Word<&CVariableList::GetLonglongRef>},
};

constexpr ETestSuiteExecutionType EXECUTIONS[] = {EXECUTION_NORMAL, EXECUTION_DIAGNOSTIC, EXECUTION_VALIDATION};

/// What was logged, a line each, and what came of it: the value, or "throws" and the text.
std::string Outcome(CRecordingHost& host, const std::function<std::uint64_t()>& read)
{
    host.Clear();
    std::string outcome;
    try
    {
        outcome = std::to_string(read());
    }
    catch (const ZKException& exception)
    {
        EXPECT_EQ(typeid(exception), typeid(CTestSuiteException));
        EXPECT_EQ(exception.Status(), TS_ERROR);
        outcome = std::string("throws ") + exception.what();
    }
    return host.Text(REC_ALL) + outcome;
}

std::string Logged(const std::string& message)
{
    return "log TS_ERROR L1 -: " + message + "\n";
}

std::string ThrownOrLogged(bool thrown, const std::string& message, const std::string& otherwise)
{
    return thrown ? "throws " + message : Logged(message) + otherwise;
}
} // namespace

TEST(VariableList, WhatCanBeReadAndReferencedAsWhat)
{
    CRecordingHost host;
    for (const ETestSuiteExecutionType execution : EXECUTIONS)
    {
        host.Services.ExecutionType = execution;
        const bool normal = execution == EXECUTION_NORMAL;
        for (const SType& own : TYPES)
        {
            CVariableList list;
            list.AddLocal(own.type, "$local", "1", QString());
            list.AddDefine(own.type, "$define", "1", QString());
            for (const SType& wanted : TYPES)
            {
                for (const std::string name : {"$local", "$define"})
                {
                    SCOPED_TRACE(name + " of " + own.name + " as " + wanted.name + " in run " +
                                 std::to_string(execution));
                    const QString text = Text(name.c_str());
                    const std::string address =
                        std::to_string(reinterpret_cast<std::uint64_t>(list.GetVariable(text).Reference<char>()));
                    const std::string variable = "Test script error: variable '" + name + "' ";
                    std::string value = "1";
                    std::string reference = address;
                    if (wanted.width < own.width)
                    {
                        value = ThrownOrLogged(normal, variable + "cannot be cast to '" + wanted.name + "'.", "1");
                        reference = ThrownOrLogged(normal, variable + "not of type '" + wanted.name + "'", address);
                    }
                    else if (name == "$define")
                    {
                        reference = ThrownOrLogged(
                            normal, "Test script error: illegal reference to x:Define variable: $define.", address);
                    }
                    EXPECT_EQ(Outcome(host, [&] { return wanted.value(list, text); }), value);
                    EXPECT_EQ(Outcome(host, [&] { return wanted.reference(list, text); }), reference);
                }
            }
        }
    }
}

TEST(VariableList, AMissingNameIsThrownByTheValueCheckInADiagnosticRunAndByTheReferenceCheckInANormalOne)
{
    CRecordingHost host;
    const CVariableList list;
    const std::string undefined = "Test script error: variable '$x' is not defined.";
    const std::string absent = "throws Variable does not exist:  $x";
    for (const ETestSuiteExecutionType execution : EXECUTIONS)
    {
        host.Services.ExecutionType = execution;
        for (const SType& type : TYPES)
        {
            SCOPED_TRACE(type.name + " in run " + std::to_string(execution));
            EXPECT_EQ(Outcome(host, [&] { return type.value(list, Text("$x")); }),
                      ThrownOrLogged(execution == EXECUTION_DIAGNOSTIC, undefined, absent));
            EXPECT_EQ(Outcome(host, [&] { return type.reference(list, Text("$x")); }),
                      ThrownOrLogged(execution == EXECUTION_NORMAL, undefined, absent));
        }
    }
    EXPECT_EQ(Outcome(host, [&] { return list.GetVariable(Text("$x")).View<bool>(); }), absent);
}

TEST(VariableList, ALiteralBeatsAVariableOfThatName)
{
    CRecordingHost host;
    CVariableList list;
    for (const char* name : {"0x10", "true", "null", ""})
    {
        list.AddLocal(DT_BOOL, name, "1", QString());
    }
    const struct
    {
        EDataType type;
        const char* text;
        std::uint64_t value;
    } rows[] = {
        {DT_LONG, "0x10", 16},
        {DT_LONG, "true", 1},
        {DT_LONG, "", 0},
        {DT_BYTE, "0x1234", 0x34},
        {DT_SHORT, " 0x12345 ", 0x2345},
        {DT_LONG, "0x123456789A", 0x3456789A},
        {DT_LONGLONG, "0xFFFFFFFFFF", 0xFFFFFFFFFF},
        {DT_BOOL, "0x100", 1},
        {DT_BOOL, "null", 0},
        {DT_PVOID, "0x10", 16},
        {DT_PVOID, "null", 0},
        {DT_PVOID, "true", 1}, // no pointer: the variable
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Outcome(host, [&] { return TYPES[row.type].value(list, Text(row.text)); }), std::to_string(row.value))
            << row.type << " '" << row.text << '\'';
    }
    EXPECT_EQ(Outcome(host, [&] { return TYPES[DT_LONG].reference(list, Text("7")); }),
              "throws Test script error: variable '7' is not defined.");
}

TEST(VariableList, AValueIsReadThroughTheViewThatIsAskedFor)
{
    CRecordingHost host;
    CVariableList list;
    list.AddLocal(DT_BYTE, "$byte", "300", QString());
    EXPECT_EQ(list.GetByte(Text("$byte")), 44);
    EXPECT_EQ(list.GetLong(Text("$byte")), 300U);
    host.Services.ExecutionType = EXECUTION_VALIDATION;
    list.AddLocal(DT_SHORT, "$short", "0x1234", QString());
    EXPECT_EQ(list.GetByte(Text("$short")), 0x34);
    list.AddLocal(DT_BOOL, "$bool", "false", QString());
    *list.GetByteRef(Text("$bool")) = 2;
    EXPECT_TRUE(list.GetBool(Text("$bool")));
}

TEST(VariableList, ExtractValue)
{
    CRecordingHost host;
    CVariableList list;
    list.AddLocal(DT_LONG, "$long", "0x1FFFFFFFE", QString());
    list.AddLocal(DT_LONG, "12", "5", QString());
    list.AddLocal(DT_LONGLONG, "$longlong", "1", QString());
    const std::pair<const char*, const char*> rows[] = {
        {"$long", "4294967294"},
        {"12", "12"},
        {"0x1FFFFFFFF", "4294967295"},
        {"abc", "0"},
        {"", "0"},
        {"True", "1"},
        {"$longlong", "throws Test script error: variable '$longlong' cannot be cast to 'LONG'."},
    };
    for (const auto& [text, outcome] : rows)
    {
        EXPECT_EQ(Outcome(host, [&, name = text] { return list.ExtractValue(Text(name)); }), outcome);
    }
}

TEST(VariableList, ConfigsAreFoundInTheOrderOfNames)
{
    CVariableList list;
    EXPECT_EQ(list.GetConfig(Text("TAG")), nullptr);
    const std::pair<const char*, const char*> variables[] = {
        {"$a", "TAG"},      {"$B", "TAG"}, // upper case sorts first
        {"$c", "TAG2"},     {"$d", "tag"},
        {"\uFF21", "WIDE"}, {"\U0001F600", "WIDE"}, // by code unit a surrogate sorts first
    };
    for (const auto& [name, tag] : variables)
    {
        list.AddLocal(DT_LONG, name, "1", Text(tag));
    }
    EXPECT_EQ(list.GetConfig(Text("TAG")), &list.GetVariable(Text("$B")));
    EXPECT_EQ(list.GetConfig(Text("tag")), &list.GetVariable(Text("$d")));
    EXPECT_EQ(list.GetConfig(Text("WIDE")), &list.GetVariable(Text("\U0001F600")));
    EXPECT_EQ(list.GetConfig(Text("TA")), nullptr);
}

TEST(VariableList, ANameOccursOnce)
{
    CRecordingHost host;
    CVariableList list;
    list.AddLocal(DT_LONG, "Count", "1", QString());
    list.AddDefine(DT_LONG, "count", "2", QString());
    const auto add = [&](const char* name)
    { return Outcome(host, [&] { return list.AddDefine(DT_LONG, name, "3", QString()), 0; }); };
    EXPECT_EQ(add("Count"), "throws Variable already exists:  Count");
    EXPECT_EQ(add("count"), "throws Variable already exists:  count");
    EXPECT_EQ(add(nullptr), "throws Variable already exists:  (null)");
    EXPECT_EQ(list.GetLong(Text("Count")), 1U);
    EXPECT_EQ(list.GetLong(Text("count")), 2U);
    EXPECT_FALSE(list.GetVariable(Text("Count")).IsDefine());
    EXPECT_TRUE(list.GetVariable(Text("count")).IsDefine());
    list.Clear();
    EXPECT_FALSE(list.VariableExists(Text("Count")));
}

TEST(VariableList, CopiesAreDeep)
{
    CRecordingHost host;
    CVariableList list;
    list.AddLocal(DT_LONG, "$x", "1", QString());
    CVariableList copy(list);
    CVariableList assigned;
    assigned.AddLocal(DT_LONG, "$gone", "9", QString());
    assigned = list;
    *copy.GetLongRef(Text("$x")) = 2;
    *assigned.GetLongRef(Text("$x")) = 3;
    const CVariableList& same = assigned;
    assigned = same;
    EXPECT_EQ(list.GetLong(Text("$x")), 1U);
    EXPECT_EQ(copy.GetLong(Text("$x")), 2U);
    EXPECT_EQ(assigned.GetLong(Text("$x")), 3U);
    EXPECT_FALSE(assigned.VariableExists(Text("$gone")));
}

TEST(VariableList, VariablesDoNotMove)
{
    CRecordingHost host;
    CVariableList list;
    list.AddLocal(DT_LONG, "$m", "1", QString());
    std::uint32_t* const slot = list.GetLongRef(Text("$m"));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(slot) % 8, 0U);
    for (int number = 0; number < 1000; ++number)
    {
        list.AddLocal(DT_LONG, ("$" + std::to_string(number)).c_str(), "0", QString());
    }
    *slot = 5;
    EXPECT_EQ(list.GetLongRef(Text("$m")), slot);
    EXPECT_EQ(list.GetLong(Text("$m")), 5U);
}
