#include <Support/RecordingHost.h>

#include <HostKit/DocumentSource.h>
#include <Orvanta/DOMDocTestSuite.h>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <stdexcept>

namespace
{
const std::string EMPTY_GROUPS = "<x:InitGroup/><x:ExitGroup/>";

class COpenDocument : public CDOMDocTestSuite
{
public:
    using CDOMDocTestSuite::CDOMDocTestSuite;
    using CDOMDocTestSuite::MakeVariableList;
};

std::unique_ptr<COpenDocument> Document(CRecordingHost& host, const std::string& body, const std::string& attributes)
{
    return std::make_unique<COpenDocument>(
        host.WriteFile(QStringLiteral("document.xml"), CLoadedSuite::File(body, attributes)));
}

/// Lets every allocation of the validator fail while it lives.
template <class Exception>
class CNoMemory : public xercesc::MemoryManager
{
public:
    explicit CNoMemory(const Exception& exception)
        : m_Exception(exception)
    {
        xercesc::XMLPlatformUtils::fgMemoryManager = this;
    }
    ~CNoMemory() override { xercesc::XMLPlatformUtils::fgMemoryManager = m_Previous; }

    MemoryManager* getExceptionMemoryManager() override { return m_Previous; }
    void* allocate(XMLSize_t) override { throw m_Exception; }
    void deallocate(void* memory) override { m_Previous->deallocate(memory); }

private:
    Exception m_Exception;
    MemoryManager* m_Previous = xercesc::XMLPlatformUtils::fgMemoryManager;
};
} // namespace

TEST(ShouldLoad, WeighsLabelProductsAndFilter)
{
    CRecordingHost host;
    const auto access = [&host](int filter, const std::string& attributes)
    {
        host.Services.Settings.CurrentFilter = filter;
        return CDOMDocTestSuite::ShouldLoad(host.WriteFile(QStringLiteral("suite.xml"), "<any " + attributes + "/>"));
    };
    const std::string refused = "products='abc' configurations='z'";
    host.Settings.UpdateAppSetting("TestScriptLabel", "AbC", 0);
    EXPECT_EQ(access(0, refused), 6U) << "no filters";
    host.Services.CustomConfiguration = nullptr;
    EXPECT_EQ(access(0, refused), 6U) << "no configuration";
    host.Services.CustomConfiguration = &host.Configuration;
    const QStringList categories{QStringLiteral("Lab"), QStringLiteral("X")};
    CTestSuiteFilters& filters = host.Configuration.TestSuiteFilters();
    filters.Add(CFilter(QStringLiteral("show"), categories, false, false));
    filters.Add(CFilter(QStringLiteral("hide"), categories, true, false));
    filters.Add(CFilter(QStringLiteral("any"), categories, true, true));
    // clang-format off
    enum { NO_FILTER = -1, SHOW, HIDE, ANYTHING };
    const std::tuple<std::string, int, unsigned> rows[] = {
        {"alwaysload='true' products='other' configurations='z'", HIDE, 6},
        {"alwaysload='Yes'", NO_FILTER, 6}, {"alwaysload='on'", NO_FILTER, 0}, {"", NO_FILTER, 0},
        {"products='abcd'", NO_FILTER, 0}, {"products=' abc'", NO_FILTER, 0}, {"products='xyz;;abc'", NO_FILTER, 6},
        {refused, NO_FILTER, 6}, {refused, HIDE, 10}, {refused, SHOW, 2}, {refused, ANYTHING, 6}, {refused, 9, 6},
        {"products='abc' configurations='x;y'", HIDE, 6}, {"products='abc' configurations='la;bx'", SHOW, 2},
        {"products='abc' configurations=' x'", SHOW, 2}, {"products='abc' configurations=';'", HIDE, 10},
        {"products='abc' configurations=''", HIDE, 6}, {"products='abc'", HIDE, 6},
    };
    // clang-format on
    for (const auto& [attributes, filter, expected] : rows)
    {
        EXPECT_EQ(access(filter, attributes), expected) << attributes << ' ' << filter;
    }
    host.Settings.UpdateAppSetting("TestScriptLabel", "", 0);
    EXPECT_EQ(access(HIDE, "products='other' configurations='z'"), 6U);
}

TEST(ShouldLoad, TakesWhatCanBeReadOfABadFile)
{
    CRecordingHost host;
    const auto access = [&host](const char* content)
    { return CDOMDocTestSuite::ShouldLoad(host.WriteFile(QStringLiteral("bad.xml"), content)); };
    EXPECT_EQ(access(""), 0U);
    EXPECT_EQ(access("<!-- nothing -->"), 0U);
    EXPECT_EQ(access("<any><unclosed>"), 6U);
    EXPECT_EQ(CDOMDocTestSuite::ShouldLoad(host.Folder() + QStringLiteral("/missing.xml")), 0U);
    EXPECT_EQ(CDOMDocTestSuite::ShouldLoad(host.Folder()), 0U);
}

TEST(Document, ReadsTheTopLevel)
{
    CRecordingHost host;
    const auto document =
        Document(host,
                 "<x:Tooltip>tip <!-- the -->o<![CDATA[n]]>e</x:Tooltip><x:Tooltip>tip two</x:Tooltip>"
                 "<x:DllLoadError>dll</x:DllLoadError><x:LibraryLoadError>lib</x:LibraryLoadError>"
                 "<x:LibraryLoadError>more</x:LibraryLoadError>"
                 "<x:Variables><!-- none --><x:Local type='BYTE' name='$l' value='7'/>"
                 "<x:Define type='LONG' name='$d' value='8' ZKconfig='DEBUG_MODE'/></x:Variables>"
                 "<x:Variables><x:Local type='BYTE' name='$second'/></x:Variables>" +
                     EMPTY_GROUPS,
                 "name='Log name' library='lib' dll='dll'");
    EXPECT_EQ(document->LibFileName(), QString());
    ASSERT_TRUE(document->ParseDoc());
    ASSERT_TRUE(document->ParseDoc()) << "reads afresh";
    EXPECT_TRUE(document->Parsed());
    EXPECT_EQ(document->LibFileName(), QStringLiteral("lib"));
    EXPECT_EQ(document->LogName(), QStringLiteral("Log name"));
    EXPECT_EQ(document->ToolTip(), QStringLiteral("tip one"));
    EXPECT_EQ(document->LibraryLoadErrorMsg(), QStringLiteral("lib"));
    const CVariableList& variables = *document->VariableList();
    EXPECT_FALSE(variables.GetVariable(QStringLiteral("$l")).IsDefine());
    EXPECT_EQ(variables.GetByte(QStringLiteral("$l")), 7);
    EXPECT_TRUE(variables.GetVariable(QStringLiteral("$d")).IsDefine());
    EXPECT_EQ(variables.GetConfig(QStringLiteral("DEBUG_MODE")), &variables.GetVariable(QStringLiteral("$d")));
    EXPECT_FALSE(variables.VariableExists(QStringLiteral("$second")));
    EXPECT_FALSE(document->Variables() || document->InitGroup() || document->ExitGroup());
    EXPECT_TRUE(document->Groups().empty());
}

TEST(Document, FallsBackToTheOlderNames)
{
    CRecordingHost host;
    const std::string old = "<x:DllLoadError>old</x:DllLoadError>" + EMPTY_GROUPS;
    const auto named = Document(host, old, "library='' dll='d'");
    EXPECT_TRUE(named->ParseDoc());
    EXPECT_EQ(named->LibFileName(), QStringLiteral("d"));
    EXPECT_EQ(named->LibraryLoadErrorMsg(), QStringLiteral("old"));
    const auto unnamed = Document(host, "<x:LibraryLoadError></x:LibraryLoadError>" + old, "");
    EXPECT_TRUE(unnamed->ParseDoc());
    EXPECT_EQ(unnamed->LibFileName() + unnamed->LibraryLoadErrorMsg(), QString());
}

TEST(Document, HasATestWhenATopLevelGroupHas)
{
    CRecordingHost host;
    const std::string test = "<x:Function name='f' type='PassFailTest'/>";
    const std::string others = "<x:Function name='f' type='passfailtest'/><x:Function name='f' type=''/>";
    const auto without = Document(host,
                                  "<x:InitGroup>" + test + "<x:Group>" + test + "</x:Group></x:InitGroup><x:Group>" +
                                      others + "</x:Group><x:ExitGroup>" + test + "</x:ExitGroup>",
                                  "");
    EXPECT_TRUE(without->ParseDoc());
    EXPECT_FALSE(without->HasTest());
    const auto with = Document(host,
                               "<x:InitGroup/><x:Group/><x:Group><x:Group><x:Group>" + others + test +
                                   "</x:Group></x:Group></x:Group><x:ExitGroup/>",
                               "");
    EXPECT_TRUE(with->ParseDoc());
    EXPECT_TRUE(with->HasTest());
    Document(host, EMPTY_GROUPS, "");
    EXPECT_TRUE(with->ParseDoc());
    EXPECT_FALSE(with->HasTest());
}

TEST(Document, WrongVariablesResetIt)
{
    CRecordingHost host;
    const std::pair<std::string, bool> rows[] = {
        {"<x:Local type='BYTE' name='$a'/><x:Local type='DWORD' name='$b'/>", false},
        {"<x:Local type='BYTE' name='$a'/><x:Define type='BYTE' name='$a'/>", false},
        {"<x:Local type='BYTE' name='$a'/><x:Other type='BYTE' name='$b'/>", true},
    };
    for (const auto& [variables, schemaRefuses] : rows)
    {
        const auto document = Document(host,
                                       "<x:Tooltip>tip</x:Tooltip><x:LibraryLoadError>lib</x:LibraryLoadError>"
                                       "<x:Variables>" +
                                           variables + "</x:Variables>" + EMPTY_GROUPS,
                                       "name='n' library='l'");
        EXPECT_FALSE(document->ParseDoc()) << variables;
        EXPECT_FALSE(document->Parsed() || document->GetRootElement());
        EXPECT_EQ(document->LibFileName() + document->LogName() + document->ToolTip() + document->LibraryLoadErrorMsg(),
                  QString());
        EXPECT_EQ(document->ErrorCount() != 0, schemaRefuses);
        EXPECT_EQ(document->VariableList()->VariableExists(QStringLiteral("$a")), !schemaRefuses);
    }
}

TEST(Document, WhatTheHostHasReadIsReadNoMore)
{
    CRecordingHost host;
    const QString name = QStringLiteral("suite.xml");
    const QString path = host.WriteFile(
        name, CLoadedSuite::File("<x:Variables>\n<x:Local type='DWORD'/></x:Variables>" + EMPTY_GROUPS, "name='old'"));
    const auto source = std::make_shared<const CDocumentSource>(path);
    const auto old =
        std::make_shared<const CDocumentSource>(host.WriteFile(name, CLoadedSuite::File(EMPTY_GROUPS, "name='read'")));
    const QString other = host.WriteFile(QStringLiteral("other.xml"), CLoadedSuite::File(EMPTY_GROUPS, "name='b'"));
    host.WriteFile(name, "no suite any more");
    EXPECT_EQ(CDOMDocTestSuite::ShouldLoad(path), 0U);
    EXPECT_EQ(CDOMDocTestSuite::ShouldLoad(*old), 6U);

    const auto loaded = [](const QString& file)
    {
        TestSuiteState state(file, ACCESS_NONE);
        state.Initialize();
        return state.Document()->LogName().toStdString();
    };
    EXPECT_EQ(loaded(path), "");
    host.Services.Document = old;
    EXPECT_EQ(loaded(path), "read");
    EXPECT_EQ(loaded(other), "b") << "another file";

    host.Services.Document = source;
    COpenDocument document(path);
    EXPECT_FALSE(document.ParseDoc() || document.GetRootElement());
    ASSERT_EQ(document.Source(), source) << "kept to explain what is wrong";
    const pugi::xml_node wrong = source->Tree().document_element().child("x:Variables").first_child();
    EXPECT_STREQ(wrong.attribute("type").value(), "DWORD");
    EXPECT_EQ(document.Place(wrong).column, 1U);
}

TEST(Document, ADeclarationsTypeIsConvertedBeforeItsNameIsLookedAt)
{
    CRecordingHost host;
    COpenDocument document(QStringLiteral("unread.xml"));
    const auto failure = [&document](const char* xml)
    {
        pugi::xml_document variables;
        variables.load_string(xml);
        return ThrownText<ZKDOMDocException>([&] { document.MakeVariableList(variables.document_element()); });
    };
    EXPECT_EQ(failure("<v><x:Other type='nope'/></v>"), "Invalid variable type: nope.");
    EXPECT_EQ(failure("<v><x:Other type='LONG'/></v>"),
              "\nZKEngine/Orvanta/DOMDocTestSuite(LINE): CDOMDocTestSuite::MakeVariableList:\n"
              "Invalid variable type: x:Other");
    EXPECT_EQ(failure(""), "nothing thrown");
}

TEST(SuiteState, TheTestNameIsTheStemOfTheLastComponent)
{
    // clang-format off
    const std::pair<const char*, const char*> rows[] = {
        {"/a/My.Suite.xml", "My.Suite"}, {"a\\b/suite", "suite"}, {"/a.b/c\\suite.xml", "suite"},
        {"C:suite.xml", "suite"}, {"C:", ""}, {"c:.xml", ".xml"},
        {"\\\\server.x", ""}, {"\\\\server\\suite.xml", "suite"}, {"\\\\server\\", ""}, {"//server.x", "server"},
        {"/a/stream:b.xml", "stream"}, {"/a/b.c:d.e", "b"}, {"/a/.hidden", ".hidden"}, {"/a/.hidden.xml", ".hidden"},
        {"/a/name.", "name"}, {"/a/.", "."}, {"/a/..", ".."}, {"/a/...", ".."}, {"a\\", ""}, {"", ""},
    };
    // clang-format on
    for (const auto& [path, name] : rows)
    {
        EXPECT_EQ(TestSuiteState(QString::fromUtf8(path), ACCESS_NONE).TestName().toStdString(), name) << path;
    }
}

TEST(SuiteState, LifeCycle)
{
    CRecordingHost host;
    const auto write = [&host](const std::string& body)
    { return host.WriteFile(QStringLiteral("My.Suite.xml"), CLoadedSuite::File(body, "")); };
    const std::string valid =
        "<x:InitGroup/><x:Group><x:Function name='f' type='PassFailTest'/></x:Group><x:ExitGroup/>";
    TestSuiteState state(write(valid), ACCESS_IN_APPLICATION);
    const auto flags = [&state]
    {
        EXPECT_EQ(state.IsLoaded(), state.IsValid());
        return std::string(state.IsInitialized() ? "initialized " : "") + (state.IsValid() ? "valid " : "") +
            (state.Document() ? "document " : "") + (state.HasTestFunction() ? "test " : "");
    };
    const auto report = [&]
    {
        host.Clear();
        EXPECT_EQ(state.Activate(nullptr), &state);
        return host.Text(REC_ALL);
    };
    EXPECT_FALSE(state.IsCallable());
    EXPECT_EQ(flags() + report(), "log TS_NONE L3 abort: Document not set.\n");
    state.Initialize();
    EXPECT_EQ(flags() + report(), "initialized valid document test log TS_NONE L3 -: Loaded 'My.Suite'.\n");

    EXPECT_TRUE(state.IsCallable());
    const TestSuiteState copy(state);
    EXPECT_EQ(copy.Document(), state.Document());
    write("<x:Tooltip a='1'/>\n<x:InitGroup bc='2'/>\n<x:ExitGroup/>");
    EXPECT_EQ(state.Reload(), &state);
    EXPECT_EQ(flags() + report(),
              R"(initialized document log TS_ERROR L0 diagnostic: Invalid test suite!\n)"
              R"(--------\nError:\nOn line 3, column 1:\nSchema URI: urn:zelkor:test-suite\nSeverity: Error (2)\n)"
              R"(Message: x:Tooltip has no attribute "a"; it takes none\n)"
              R"(--------\nError:\nOn line 4, column 1:\nSchema URI: urn:zelkor:test-suite\nSeverity: Error (2)\n)"
              R"(Message: x:InitGroup has no attribute "bc"; it takes label and name\n)"
              "\n");
    EXPECT_TRUE(copy.IsInitialized() && copy.IsValid() && copy.HasTestFunction() && copy.InApplication());
    EXPECT_EQ(copy.TestName(), QStringLiteral("My.Suite"));
    EXPECT_TRUE(copy.Document()->GetRootElement()) << "the copy's document lives on";

    write("<x:Variables><x:Local type='DWORD'/></x:Variables>" + EMPTY_GROUPS);
    state.Reload();
    EXPECT_EQ(report(), "log TS_ERROR L0 diagnostic: Invalid test suite!\\n\n");

    write(valid);
    {
        const CNoMemory memory{xercesc::OutOfMemoryException()};
        EXPECT_THROW(state.Reload(), xercesc::OutOfMemoryException);
        EXPECT_EQ(flags(), "");
    }
    {
        const CNoMemory memory{std::bad_alloc()};
        EXPECT_THROW(state.Reload(), std::bad_alloc);
        EXPECT_EQ(flags(), "");
    }
    const std::shared_ptr<CDOMParser> parser = std::exchange(host.Services.Parser, nullptr);
    {
        const CNoMemory memory{std::runtime_error("no parser")};
        host.Clear();
        state.Reload();
        EXPECT_EQ(host.Text(REC_ALL), "log TS_ERROR L1 -: Couldn't initialize test suite: no parser.\n");
        EXPECT_EQ(flags() + report(), "initialized log TS_NONE L3 abort: Document not set.\n");
    }
    host.Services.Parser = parser;
    state.Reload();
    EXPECT_EQ(flags(), "initialized valid document test ");
}
