#include <Support/RecordingHost.h>

namespace
{
std::string Call(const char* label, const std::string& function = "Succeed")
{
    return "<x:Function label='" + std::string(label) + "' name='" + function + "'/>";
}

/// An initialisation group, two test groups and an exit group, each with one function.
std::string Suite(const char* init = "Succeed", const char* first = "Succeed", const char* second = "Succeed",
                  const char* exit = "Succeed")
{
    return "<x:InitGroup>" + Call("i", init) + "</x:InitGroup><x:Group>" + Call("1", first) + "</x:Group><x:Group>" +
        Call("2", second) + "</x:Group><x:ExitGroup>" + Call("e", exit) + "</x:ExitGroup>";
}

/// The labels of the functions that were entered, in order.
std::string Entered(const CRecordingHost& host)
{
    std::string labels;
    for (const std::string& line : host.Transcript(REC_TEST_LOG))
    {
        const std::string head = "test-log: ";
        labels +=
            line.starts_with(head) && line.find("[separator]") == std::string::npos ? line.substr(head.size()) : "";
    }
    return labels;
}

/// What the root writes: everything but trace lines of groups and functions and the lines around a call.
std::string Errors(const CRecordingHost& host)
{
    std::string text;
    for (const std::string& line : host.Transcript(REC_LOG))
    {
        text += !line.starts_with("log TS_NONE") || line.find("x:TestSuite") != std::string::npos ? line + '\n' : "";
    }
    return text;
}

std::size_t InputsEnabled(const CRecordingHost& host)
{
    const std::vector<std::string> calls = host.Transcript(REC_CALLS);
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), "EnableInput"));
}

const char* const INIT_FAILED = "log TS_ERROR L1 -: Test Suite Initialization failed.\n";
const char* const STOPPED = "log TS_ERROR L1 -: Test Suite Execution failed, and stop on failure was enabled.\n";
const char* const CLEANUP = "log TS_FAILED L2 -: Attempting to call cleanup functions.\n";
const char* const ROOT_ABORTED = "log TS_NONE L5 node:  - Aborted by user x:TestSuite.\n";
} // namespace

TEST(TestSuiteNode, PhasesAndTheirRuntimeState)
{
    CRecordingHost host;
    CLoadedSuite suite(host, Suite(), WITH_LIBRARY);
    CSuiteRuntimeState leftBehind;
    CSuiteRuntimeState state;
    host.Services.Run.RuntimeState = &leftBehind;
    host.Services.Run.Helper = std::make_unique<CHelper>();
    std::string story;
    host.OnRecord = [&](ERecorded kind, const std::string& line)
    {
        const bool isEntry = kind == REC_TEST_LOG && line.find("[separator]") == std::string::npos;
        if (line == "EnableInput")
        {
            EXPECT_EQ(host.Services.Run.RuntimeState, story.find("enable") == std::string::npos ? nullptr : &state);
            host.Services.Run.RuntimeState = &state;
            story += "enable ";
        }
        if (isEntry)
        {
            EXPECT_TRUE(host.Services.Run.TestSuiteExecuting);
            story += line.substr(10) + std::to_string(state.CurrentPhase) + ' ';
        }
    };
    state.CurrentPhase = 7;
    EXPECT_TRUE(suite.Run());
    EXPECT_EQ(story, "enable enable i0 11 21 e2 enable ");
    EXPECT_EQ(host.Services.Run.RuntimeState, nullptr);
    EXPECT_FALSE(host.Services.Run.TestSuiteExecuting);
    EXPECT_EQ(leftBehind.CurrentPhase, 0);
    EXPECT_EQ(host.Services.Run.Helper, nullptr);
    EXPECT_EQ(Errors(host),
              "log TS_FAILED L2 -: Internal error: Global helper class not cleaned up by test suite.  "
              "Attempting cleanup now...\n");

    host.Services.Run.RuntimeState = &state;
    SetSuitePhase(FG_TESTS);
    EXPECT_TRUE(ThrownText<ZKRunTimeException>([] { SetSuitePhase(static_cast<EFunctionGroupType>(3)); })
                    .ends_with(":\nUnexpected EFunctionGroupType: 3"));
    EXPECT_EQ(state.CurrentPhase, 1);
}

TEST(TestSuiteNode, ResultsOfTheGroups)
{
    const struct
    {
        const char *init, *first, *second, *exit;
        bool stopOnFail;
        bool result;
        std::string entered;
        std::string errors;
    } rows[] = {
        {"Succeed", "Succeed", "Succeed", "Succeed", false, true, "i12e", ""},
        {"Succeed", "Fail", "Succeed", "Succeed", false, true, "i12e", ""}, // the last group counts
        {"Succeed", "Succeed", "Fail", "Succeed", false, false, "i12e", ""},
        {"Succeed", "Fail", "Succeed", "Succeed", true, false, "i1e", STOPPED},
        {"Fail", "Succeed", "Succeed", "Succeed", false, false, "ie", std::string(INIT_FAILED) + STOPPED},
        {"Succeed", "Succeed", "Succeed", "Fail", false, false, "i12e", ""},
        {"Abort", "Succeed", "Succeed", "Succeed", false, false, "ie", ROOT_ABORTED},
        {"Succeed", "Abort", "Succeed", "Succeed", false, true, "i1e", ROOT_ABORTED},
        {"Succeed", "Fail", "Abort", "Succeed", false, false, "i12e", ROOT_ABORTED},
        {"Succeed", "Succeed", "Succeed", "Abort", false, false, "i12e",
         "log TS_ERROR L1 -: Test suite cleanup failed unexpectedly:\\n -- stop\n"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.init) + row.first + row.second + row.exit);
        CRecordingHost host;
        CLoadedSuite suite(host, Suite(row.init, row.first, row.second, row.exit), WITH_LIBRARY);
        EXPECT_EQ(suite.Run(row.stopOnFail), row.result);
        EXPECT_EQ(Entered(host), row.entered);
        EXPECT_EQ(Errors(host), row.errors);
        EXPECT_EQ(suite.Root().RunState(), row.result ? RS_PASSED : RS_FAILED);
        EXPECT_EQ(InputsEnabled(host), 3U);
    }
}

TEST(TestSuiteNode, ExceptionsOfGroups)
{
    const std::string init = "<x:InitGroup>" + Call("i") + "</x:InitGroup>";
    const std::string group = "<x:Group>" + Call("1") + "</x:Group><x:Group>" + Call("2") + "</x:Group>";
    const std::string exit = "<x:ExitGroup>" + Call("e") + "</x:ExitGroup>";
    const auto failed = [](const std::string& what, const std::string& text)
    { return "log TS_ERROR L1 -: Test suite " + what + "failed unexpectedly:\\n -- " + text + "\n"; };
    const auto noChild = [](const std::string& element)
    {
        return "\\nZKEngine/Orvanta/GroupNode(LINE): CGroupNode::SomethingToExecute:\\n" + element +
            " must have at least one child element.";
    };
    const struct
    {
        std::string body;
        const char* at;
        std::function<void()> raise;
        std::string entered;
        std::string errors;
    } rows[] = {
        // clang-format off
        {init + group + exit, "Entering x:Group", [] { throw ZKRunTimeException("T"); }, "ie", failed("", "T") + CLEANUP},
        {init + group + exit, "Entering x:Group", [] { throw std::runtime_error("r"); }, "ie", failed("", "r") + CLEANUP},
        {init + group + exit, "Entering x:Group", [] { throw 1; }, "ie", failed("", "<unknown failure>") + CLEANUP},
        {"<x:InitGroup/>" + group + exit, "", [] {}, "e", failed("initialization ", noChild("x:InitGroup")) + CLEANUP},
        {group + exit, "Entering x:Group", [] { throw ZKRunTimeException("T"); }, "e", failed("initialization ", "T") + CLEANUP},
        {init + group + "<x:ExitGroup/>", "", [] {}, "i12", failed("cleanup ", noChild("x:ExitGroup"))},
        // An error while the first is being reported leaves the exit group out.
        {init + "<x:Group/>" + exit, "Attempting", [] { throw std::runtime_error("L"); }, "i", failed("", noChild("x:Group")) + failed("", "L")},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.body + row.at);
        CRecordingHost host;
        CLoadedSuite suite(host, row.body, WITH_LIBRARY, false);
        host.At(row.at, row.raise);
        EXPECT_FALSE(suite.Run());
        EXPECT_EQ(Entered(host), row.entered);
        EXPECT_EQ(WithoutLines(Errors(host)), row.errors);
    }
}

TEST(TestSuiteNode, ExhaustedMemoryEndsTheRunAtOnce)
{
    for (const bool isExit : {false, true})
    {
        CRecordingHost host;
        const std::string body = isExit ? Suite("Succeed", "Succeed", "Succeed", "ThrowBadAlloc")
                                        : Suite("Succeed", "ThrowXercesOutOfMemory");
        CLoadedSuite suite(host, body, WITH_LIBRARY);
        CSuiteRuntimeState state;
        host.At("test-log: i", [&] { host.Services.Run.RuntimeState = &state; });
        host.Services.Run.Helper = std::make_unique<CHelper>();
        EXPECT_ANY_THROW(suite.Run());
        EXPECT_EQ(Entered(host), isExit ? "i12e" : "i1");
        EXPECT_EQ(InputsEnabled(host), 3U);
        EXPECT_EQ(host.Services.Run.RuntimeState, nullptr);
        EXPECT_FALSE(host.Services.Run.TestSuiteExecuting);
        EXPECT_EQ(host.Services.Run.Helper, nullptr);
        EXPECT_EQ(suite.Root().RunState(), RS_FAILED);
    }
}

TEST(TestSuiteNode, ALibraryThatCannotBeOpened)
{
    const std::string head = R"(
log TS_ERROR L1 -: Unable to open test suite Library: libnosuch.so
log TS_FAILED L2 (255,0,0,255 400): Error message: /nowhere/libnosuch.so: no such file
)";
    const std::string advice = "log TS_FAILED L2 (255,0,0,255 400 italic): --------------------------\\n";
    const std::tuple<const char*, const char*, std::string> rows[] = {
        {"library='nosuch'", "", head},
        {"dll='nosuch'", "<x:LibraryLoadError>A<!-- -->s<![CDATA[k]]>.</x:LibraryLoadError>", head + advice + "Ask.\n"},
        {"library='nosuch' dll='EngineTests'", "<x:DllLoadError>Old.</x:DllLoadError>", head + advice + "Old.\n"},
        {"library='nosuch'", "<x:DllLoadError>Old.</x:DllLoadError><x:LibraryLoadError>New.</x:LibraryLoadError>",
         head + advice + "New.\n"},
        {"library='nosuch'", "<x:DllLoadError>Old.</x:DllLoadError><x:LibraryLoadError/>", head},
    };
    for (const auto& [attributes, elements, lines] : rows)
    {
        SCOPED_TRACE(elements);
        CRecordingHost host;
        host.Services.Settings.LibraryPath = {"/nowhere"};
        CLoadedSuite suite(host, elements + Suite(), attributes);
        EXPECT_FALSE(suite.Run());
        EXPECT_EQ("\n" + host.Text(), lines);
        EXPECT_EQ(host.Text(REC_STATE), "state / x:TestSuite 1\nstate / x:TestSuite 3\n");
        EXPECT_EQ(InputsEnabled(host), 1U);
        EXPECT_FALSE(host.Services.Run.TestSuiteExecuting);
    }
}

TEST(TestSuiteNode, WhereTheLibraryComesFrom)
{
    const std::tuple<const char*, bool> rows[] = {
        // clang-format off
        {"library='EngineTests'", true}, {"dll='EngineTests'", true}, {"library='' dll='EngineTests'", false}, {"", false},
        // clang-format on
    };
    for (const auto& [attributes, found] : rows)
    {
        CRecordingHost host;
        CLoadedSuite suite(host, "<x:Group>" + Call("1") + "</x:Group>", attributes, false);
        EXPECT_EQ(suite.Run(), found) << attributes;
        EXPECT_EQ(Errors(host), found ? "" : "log TS_ERROR L1 -: Couldn't find function: Succeed.\n");
        EXPECT_EQ(suite.Root().DoGetLibWrapper() != nullptr, found);
    }
    // Functions are looked up once, when the tree is built.
    CRecordingHost host;
    const std::vector<std::string> path = std::exchange(host.Services.Settings.LibraryPath, {"/nowhere"});
    CLoadedSuite late(host, "<x:Group>" + Call("1") + "</x:Group>", WITH_LIBRARY, false);
    host.Services.Settings.LibraryPath = path;
    EXPECT_FALSE(late.Run());
    EXPECT_EQ(Errors(host), "log TS_ERROR L1 -: Couldn't find function: Succeed.\n");
}

TEST(TestSuiteNode, MissingAndRepeatedPhaseGroups)
{
    const auto group = [](const char* element, const char* label, const char* function = "Succeed")
    { return std::string("<x:") + element + ">" + Call(label, function) + "</x:" + element + ">"; };
    CRecordingHost host;
    CLoadedSuite none(host, group("Group", "1") + group("Group", "2", "Fail"), WITH_LIBRARY, false);
    CSuiteRuntimeState state;
    host.At("test-log: 1", [&] { host.Services.Run.RuntimeState = &state; });
    EXPECT_FALSE(none.Run());
    EXPECT_EQ(Entered(host), "12");
    EXPECT_EQ(state.CurrentPhase, 2);
    EXPECT_EQ(Errors(host), "");

    // The last of a kind counts; the others run like any child. Nothing behind the exit group runs.
    host.OnRecord = nullptr;
    host.Clear();
    CLoadedSuite many(host,
                      group("InitGroup", "a", "Fail") + group("InitGroup", "b") + group("ExitGroup", "c", "Fail") +
                          group("Group", "d") + group("ExitGroup", "e") + group("Group", "f"),
                      WITH_LIBRARY, false);
    EXPECT_TRUE(many.Run());
    EXPECT_EQ(Entered(host), "abcde");
    EXPECT_EQ(Errors(host), "");
}

TEST(TestSuiteNode, DebugModeSetting)
{
    const std::tuple<const char*, ETestSuiteMode, const char*> rows[] = {
        // without a value: no such setting
        {"true", MODE_NORMAL, "1"}, {"true", MODE_DEBUG, ""},   {"5", MODE_NORMAL, "1"},    {"false", MODE_NORMAL, ""},
        {"false", MODE_DEBUG, "0"}, {nullptr, MODE_NORMAL, ""}, {nullptr, MODE_DEBUG, "0"},
    };
    for (const auto& [value, hostMode, expected] : rows)
    {
        CRecordingHost host;
        host.Services.Settings.TestSuiteMode = hostMode;
        const std::string variables = value
            ? "<x:Variables><x:Define type='BOOL' name='$d' ZKconfig='DEBUG_MODE' value='" + std::string(value) +
                "'/></x:Variables>"
            : "";
        CLoadedSuite suite(host, variables + Suite());
        EXPECT_EQ(suite.Root().Selected(), hostMode == MODE_NORMAL);
        std::string emitted;
        QObject::connect(&suite.Root(), &CTestSuiteNode::UpdateTestSuiteMode,
                         [&](ETestSuiteMode mode) { emitted += std::to_string(mode); });
        suite.Root().EmitNodeSettings();
        EXPECT_EQ(emitted, expected) << (value ? value : "none") << hostMode;
    }
}

TEST(TestSuiteNode, VariablesStartAnewInEveryRun)
{
    CRecordingHost host;
    CLoadedSuite suite(host,
                       "<x:Variables><x:Local type='LONG' name='$i' value='5'/></x:Variables><x:InitGroup>" +
                           Call("i") + "</x:InitGroup><x:Group iterator='$i' from='1' to='3'>" + Call("1") +
                           "</x:Group><x:ExitGroup>" + Call("e") + "</x:ExitGroup>",
                       WITH_LIBRARY);
    std::string seen;
    host.At("Entering x:Function", [&] { seen += std::to_string(CVariables::Value("$i")); });
    EXPECT_TRUE(suite.Run());
    EXPECT_TRUE(suite.Run());
    EXPECT_EQ(seen, "51235123");
    EXPECT_EQ(suite.Root().Results().ExecCount, 2U); // nor do counts add up; phase groups don't count towards the root
}

TEST(TestSuiteNode, ConstructionThatFailsLeavesNoVariables)
{
    const auto inSuite = ThrownText<CTestSuiteException>;
    const auto inDocument = ThrownText<ZKDOMDocException>;
    const struct
    {
        const char* declarations;
        std::string (*thrown)(const std::function<void()>&);
        const char* text;
    } rows[] = {
        {"<x:Other type='LONG'/>", inSuite,
         "\nZKEngine/Orvanta/TestSuiteNode(LINE): CTestSuiteNode::ResetVariableList:\nInvalid variable type: x:Other"},
        {"<x:Local type='LONG' name='$a'/><x:Define type='BYTE' name='$a'/>", inSuite, "Variable already exists:  $a"},
        {"<x:Local type='long' name='$a'/>", inDocument, "Invalid variable type: long."},
        {"<x:Other/>", inDocument, "Invalid variable type: ."}, // the type is converted first
    };
    for (const auto& row : rows)
    {
        CRecordingHost host;
        CLoadedSuite other(host, "<x:Group/>", "", false);
        EXPECT_TRUE(CVariables::AreSet());
        const std::string variables = "<x:Variables>" + std::string(row.declarations) + "</x:Variables>";
        EXPECT_EQ(row.thrown([&] { CLoadedSuite(host, "<x:Group/>" + variables, "", false); }), row.text);
        EXPECT_FALSE(CVariables::AreSet());
    }
}

TEST(TestSuiteNode, TheRootBuiltOrRunLastOwnsTheVariables)
{
    CRecordingHost host;
    const auto body = [](const char* value)
    {
        return std::string("<x:Variables><x:Local type='LONG' name='$i' value='") + value +
            "'/></x:Variables><x:Group>" + Call("1") + "</x:Group>";
    };
    CLoadedSuite first(host, body("1"), WITH_LIBRARY, false);
    auto second = std::make_unique<CLoadedSuite>(host, body("2"), WITH_LIBRARY, false);
    EXPECT_EQ(CVariables::Value("$i"), 2U);
    first.Run();
    EXPECT_EQ(CVariables::Value("$i"), 1U);
    second.reset();
    EXPECT_FALSE(CVariables::AreSet());
    first.Run();
    EXPECT_TRUE(CVariables::AreSet());
}
