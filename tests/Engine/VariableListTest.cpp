#include <Support/RecordingHost.h>

#include <Orvanta/VariableList.h>

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
    std::string value;
    const std::string text = ThrownText<CTestSuiteException>([&] { value = std::to_string(read()); });
    return host.Text(REC_ALL) + (value.empty() ? "throws " + text : value);
}

std::string ThrownOrLogged(bool thrown, const std::string& message, const std::string& otherwise)
{
    return thrown ? "throws " + message : "log TS_ERROR L1 -: " + message + "\n" + otherwise;
}
} // namespace

TEST(VariableList, WhatCanBeReadAndReferencedAsWhat)
{
    CRecordingHost host;
    const auto check = [&host](const SType& own, const SType& wanted, const char* name, bool normal)
    {
        SCOPED_TRACE(name + (" of " + own.name + " as " + wanted.name + (normal ? " normally" : " otherwise")));
        CVariableList list;
        list.AddLocal(own.type, "$local", "1", QString());
        list.AddDefine(own.type, "$define", "1", QString());
        const std::string address =
            std::to_string(reinterpret_cast<std::uint64_t>(list.GetVariable(Text(name)).Reference<char>()));
        const std::string script = "Test script error: ";
        const std::string variable = script + "variable '" + name + "' ";
        std::string value = "1";
        std::string reference = address;
        if (wanted.width < own.width)
        {
            value = ThrownOrLogged(normal, variable + "cannot be cast to '" + wanted.name + "'.", "1");
            reference = ThrownOrLogged(normal, variable + "not of type '" + wanted.name + "'", address);
        }
        else if (list.GetVariable(Text(name)).IsDefine())
        {
            reference =
                ThrownOrLogged(normal, script + "illegal reference to x:Define variable: " + name + ".", address);
        }
        EXPECT_EQ(Outcome(host, [&] { return wanted.value(list, Text(name)); }), value);
        EXPECT_EQ(Outcome(host, [&] { return wanted.reference(list, Text(name)); }), reference);
    };
    for (const ETestSuiteExecutionType execution : EXECUTIONS)
    {
        host.Services.Settings.ExecutionType = execution;
        for (int pair = 0; pair < 36; ++pair)
        {
            check(TYPES[pair / 6], TYPES[pair % 6], "$local", execution == EXECUTION_NORMAL);
            check(TYPES[pair / 6], TYPES[pair % 6], "$define", execution == EXECUTION_NORMAL);
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
        host.Services.Settings.ExecutionType = execution;
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
    // "true" is no pointer: the variable.
    // clang-format off
    const std::tuple<EDataType, const char*, std::uint64_t> rows[] = {
        {DT_LONG, "0x10", 16}, {DT_LONG, "", 0}, {DT_LONG, "0x123456789A", 0x3456789A},
        {DT_BYTE, "0x1234", 0x34}, {DT_SHORT, " 0x12345 ", 0x2345}, {DT_LONGLONG, "0xFFFFFFFFFF", 0xFFFFFFFFFF},
        {DT_BOOL, "0x100", 1}, {DT_BOOL, "null", 0},
        {DT_PVOID, "0x10", 16}, {DT_PVOID, "null", 0}, {DT_PVOID, "true", 1},
    };
    // clang-format on
    for (const auto& [type, text, value] : rows)
    {
        EXPECT_EQ(Outcome(host, [&, type = type, text = text] { return TYPES[type].value(list, Text(text)); }),
                  std::to_string(value))
            << type << " '" << text << '\'';
    }
    EXPECT_EQ(Outcome(host, [&] { return TYPES[DT_LONG].reference(list, Text("7")); }),
              "throws Test script error: variable '7' is not defined.");
}

TEST(VariableList, ExtractValue)
{
    CRecordingHost host;
    CVariableList list;
    list.AddLocal(DT_LONG, "$long", "0x1FFFFFFFE", QString());
    list.AddLocal(DT_LONG, "12", "5", QString());
    list.AddLocal(DT_LONGLONG, "$longlong", "0x100000002", QString());
    // clang-format off
    const std::pair<const char*, const char*> rows[] = {
        {"$long", "4294967294"}, {"12", "12"}, {"0x1FFFFFFFF", "4294967295"}, {"abc", "0"}, {"", "0"},
        {"$longlong", "throws Test script error: variable '$longlong' cannot be cast to 'LONG'."},
    };
    // clang-format on
    for (const auto& [text, outcome] : rows)
    {
        EXPECT_EQ(Outcome(host, [&, name = text] { return list.ExtractValue(Text(name)); }), outcome);
    }
    host.Services.Settings.ExecutionType = EXECUTION_VALIDATION;
    EXPECT_EQ(list.ExtractValue(Text("$longlong")), 2U) << "cut by the view that reads it";
}

TEST(VariableList, ConfigsAreFoundInTheOrderOfNames)
{
    CVariableList list;
    EXPECT_EQ(list.GetConfig(Text("TAG")), nullptr);
    for (const char* name : {"$a", "$B", "\uFF21", "\U0001F600"}) // upper case sorts first, by code unit a surrogate
    {
        list.AddLocal(DT_LONG, name, "1", Text(*name == '$' ? "TAG" : "WIDE"));
    }
    list.AddLocal(DT_LONG, "$0", "1", Text("tag"));
    EXPECT_EQ(list.GetConfig(Text("TAG")), &list.GetVariable(Text("$B")));
    EXPECT_EQ(list.GetConfig(Text("WIDE")), &list.GetVariable(Text("\U0001F600")));
    EXPECT_EQ(list.GetConfig(Text("TA")), nullptr);
}

TEST(VariableList, ANameOccursOnce)
{
    CRecordingHost host;
    CVariableList list;
    list.AddLocal(DT_LONG, "Count", "1", QString());
    list.AddDefine(DT_LONG, "count", "2", QString());
    for (const char* name : {"Count", "count", static_cast<const char*>(nullptr)})
    {
        EXPECT_EQ(Outcome(host, [&] { return list.AddDefine(DT_LONG, name, "3", QString()), 0; }),
                  std::string("throws Variable already exists:  ") + (name ? name : "(null)"));
    }
    EXPECT_EQ(list.GetLong(Text("Count")), 1U);
    EXPECT_EQ(list.GetLong(Text("count")), 2U);
    list.Clear();
    EXPECT_FALSE(list.VariableExists(Text("Count")));
}
