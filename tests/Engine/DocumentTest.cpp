#include <Support/RecordingHost.h>

#include <Orvanta/DOMDocTestSuite.h>

#include <CoreKit/Exceptions.h>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <stdexcept>
#include <string>

namespace
{
const std::string EMPTY_GROUPS = "<x:InitGroup/><x:ExitGroup/>";

class COpenDocument : public CDOMDocTestSuite
{
public:
    using CDOMDocTestSuite::CDOMDocTestSuite;
    using CDOMDocTestSuite::MakeDisplayString;
    using CDOMDocTestSuite::MakeVariableList;
};

std::unique_ptr<COpenDocument> Document(CRecordingHost& host, const std::string& body, const std::string& attributes)
{
    return std::make_unique<COpenDocument>(
        host.WriteFile(QStringLiteral("document.xml"), CLoadedSuite::File(body, attributes)));
}

std::string Function(const std::string& type)
{
    return "<x:Function name='f' type='" + type + "'/>";
}

/// Lets every allocation of the validator fail while it lives.
template <class Exception>
class CNoMemory : public xercesc::MemoryManager
{
public:
    template <class... Arguments>
    explicit CNoMemory(Arguments... arguments)
        : m_Exception(arguments...)
        , m_Previous(xercesc::XMLPlatformUtils::fgMemoryManager)
    {
        xercesc::XMLPlatformUtils::fgMemoryManager = this;
    }
    ~CNoMemory() override { xercesc::XMLPlatformUtils::fgMemoryManager = m_Previous; }

    MemoryManager* getExceptionMemoryManager() override { return m_Previous; }
    void* allocate(XMLSize_t) override { throw m_Exception; }
    void deallocate(void* memory) override { m_Previous->deallocate(memory); }

private:
    Exception m_Exception;
    MemoryManager* m_Previous;
};
} // namespace

TEST(ShouldLoad, WeighsLabelProductsAndFilter)
{
    enum
    {
        NO_FILTER = -1,
        SHOW,
        HIDE,
        ANYTHING
    };
    const struct
    {
        const char* label;
        const char* attributes;
        int filter;
        unsigned access;
    } rows[] = {
        {"", "", NO_FILTER, 6},
        {"", "products='other' configurations='z'", HIDE, 6},
        {"AbC", "alwaysload='true' products='other' configurations='z'", HIDE, 6},
        {"AbC", "alwaysload='Yes'", NO_FILTER, 6},
        {"AbC", "alwaysload='1'", NO_FILTER, 6},
        {"AbC", "alwaysload='on'", NO_FILTER, 0},
        {"AbC", "alwaysload='false' products='abc'", NO_FILTER, 6},
        {"AbC", "", NO_FILTER, 0},
        {"AbC", "products=''", NO_FILTER, 0},
        {"AbC", "products='abcd'", NO_FILTER, 0},
        {"AbC", "products=' abc'", NO_FILTER, 0},
        {"AbC", "products='xyz;;abc'", NO_FILTER, 6},
        {"AbC", "products='abc' configurations='z'", NO_FILTER, 6},
        {"AbC", "products='abc' configurations='x;y'", HIDE, 6},
        {"AbC", "products='abc' configurations='LAB'", SHOW, 6},
        {"AbC", "products='abc' configurations='z'", HIDE, 10},
        {"AbC", "products='abc' configurations='z'", SHOW, 2},
        {"AbC", "products='abc' configurations='la;bx'", SHOW, 2},
        {"AbC", "products='abc' configurations=' x'", SHOW, 2},
        {"AbC", "products='abc' configurations=';'", HIDE, 10},
        {"AbC", "products='abc' configurations=''", HIDE, 6},
        {"AbC", "products='abc'", HIDE, 6},
        {"AbC", "products='abc' configurations='z'", ANYTHING, 6},
        {"AbC", "products='abc' configurations='z'", 9, 6},
    };
    CRecordingHost host;
    const auto access = [&host](const std::string& content)
    { return CDOMDocTestSuite::ShouldLoad(host.WriteFile(QStringLiteral("suite.xml"), content)); };
    const std::string refused = "<any products='abc' configurations='z'/>";
    host.Settings.UpdateAppSetting("TestScriptLabel", "AbC", 0);
    host.Services.CurrentFilter = SHOW;
    EXPECT_EQ(access(refused), 6U) << "no filters";
    host.Services.CustomConfiguration = nullptr;
    EXPECT_EQ(access(refused), 6U) << "no configuration";
    host.Services.CustomConfiguration = &host.Configuration;
    const QStringList categories{QStringLiteral("Lab"), QStringLiteral("X")};
    CTestSuiteFilters& filters = host.Configuration.TestSuiteFilters();
    filters.Add(CFilter(QStringLiteral("show"), categories, false, false));
    filters.Add(CFilter(QStringLiteral("hide"), categories, true, false));
    filters.Add(CFilter(QStringLiteral("any"), categories, true, true));
    for (const auto& row : rows)
    {
        host.Settings.UpdateAppSetting("TestScriptLabel", row.label, 0);
        host.Services.CurrentFilter = row.filter;
        EXPECT_EQ(access(std::string("<any ") + row.attributes + "/>"), row.access)
            << row.label << ' ' << row.attributes;
    }
}

TEST(ShouldLoad, TakesWhatCanBeReadOfABadFile)
{
    CRecordingHost host;
    const std::pair<const char*, unsigned> rows[] = {
        {"", 0}, {"no markup", 0}, {"<!-- nothing -->", 0}, {"<any><unclosed>", 6}, {"<any a='1' a='2'/>", 6},
    };
    for (const auto& [content, access] : rows)
    {
        EXPECT_EQ(CDOMDocTestSuite::ShouldLoad(host.WriteFile(QStringLiteral("bad.xml"), content)), access) << content;
    }
    EXPECT_EQ(CDOMDocTestSuite::ShouldLoad(host.Folder() + QStringLiteral("/missing.xml")), 0U);
    EXPECT_EQ(CDOMDocTestSuite::ShouldLoad(host.Folder()), 0U);
}

TEST(Document, ReadsTheTopLevel)
{
    CRecordingHost host;
    const auto document = Document(host,
                                   "<x:Tooltip>tip one</x:Tooltip><x:Tooltip>tip two</x:Tooltip>"
                                   "<x:DllLoadError>dll</x:DllLoadError><x:LibraryLoadError>lib</x:LibraryLoadError>"
                                   "<x:LibraryLoadError>more</x:LibraryLoadError>"
                                   "<x:Variables><!-- none --><x:Local type='BYTE' name='$l' value='7'/>"
                                   "<x:Define type='LONG' name='$d' value='8' ZKconfig='DEBUG_MODE'/></x:Variables>"
                                   "<x:Variables><x:Local type='BYTE' name='$second'/></x:Variables>" +
                                       EMPTY_GROUPS,
                                   "name='Log name' library='lib' dll='dll'");
    EXPECT_EQ(document->LibFileName(), QString());
    ASSERT_TRUE(document->ParseDoc());
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
    const struct
    {
        const char* attributes;
        const char* body;
        const char* library;
        const char* message;
    } rows[] = {
        {"library='' dll='d'", "<x:DllLoadError>old</x:DllLoadError>", "d", "old"},
        {"dll='d'", "<x:LibraryLoadError></x:LibraryLoadError><x:DllLoadError>old</x:DllLoadError>", "d", ""},
        {"", "", "", ""},
    };
    for (const auto& row : rows)
    {
        const auto document = Document(host, row.body + EMPTY_GROUPS, row.attributes);
        EXPECT_TRUE(document->ParseDoc());
        EXPECT_EQ(document->LibFileName().toStdString(), row.library);
        EXPECT_EQ(document->LibraryLoadErrorMsg().toStdString(), row.message);
    }
}

TEST(Document, HasATestWhenATopLevelGroupHas)
{
    CRecordingHost host;
    const auto suite = [](const std::string& init, const std::string& groups)
    { return "<x:InitGroup>" + init + "</x:InitGroup>" + groups + "<x:ExitGroup>" + init + "</x:ExitGroup>"; };
    const std::string test = Function("PassFailTest");
    const std::pair<std::string, bool> rows[] = {
        {suite("", ""), false},
        {suite(test + "<x:Group>" + test + "</x:Group>", ""), false},
        {suite(test, "<x:Group>" + Function("passfailtest") + Function("") + "</x:Group>"), false},
        {suite("", "<x:Group>" + test + "</x:Group>"), true},
        {suite("",
               "<x:Group/><x:Group><x:Group><x:Group>" + Function("other") + test + "</x:Group></x:Group></x:Group>"),
         true},
    };
    for (const auto& [body, hasTest] : rows)
    {
        const auto document = Document(host, body, "");
        EXPECT_TRUE(document->ParseDoc()) << body;
        EXPECT_EQ(document->HasTest(), hasTest) << body;
    }
}

TEST(Document, WrongVariablesResetIt)
{
    CRecordingHost host;
    const struct
    {
        const char* variables;
        bool schemaRefuses;
    } rows[] = {
        {"<x:Local type='BYTE' name='$a'/><x:Local type='DWORD' name='$b'/>", false},
        {"<x:Local type='BYTE' name='$a'/><x:Define type='BYTE' name='$a'/>", false},
        {"<x:Local type='BYTE' name='$a'/><x:Other type='BYTE' name='$b'/>", true},
    };
    for (const auto& row : rows)
    {
        const auto document = Document(host,
                                       "<x:Tooltip>tip</x:Tooltip><x:LibraryLoadError>lib</x:LibraryLoadError>"
                                       "<x:Variables>" +
                                           std::string(row.variables) + "</x:Variables>" + EMPTY_GROUPS,
                                       "name='n' library='l'");
        EXPECT_FALSE(document->ParseDoc()) << row.variables;
        EXPECT_FALSE(document->Parsed());
        EXPECT_FALSE(document->GetRootElement());
        EXPECT_TRUE(
            (document->LibFileName() + document->LogName() + document->ToolTip() + document->LibraryLoadErrorMsg())
                .isEmpty());
        EXPECT_EQ(document->ErrorCount() != 0, row.schemaRefuses);
        EXPECT_EQ(document->VariableList()->VariableExists(QStringLiteral("$a")), !row.schemaRefuses);
    }
}

TEST(Document, ADeclarationsTypeIsConvertedBeforeItsNameIsLookedAt)
{
    CRecordingHost host;
    COpenDocument document(QStringLiteral("unread.xml"));
    const auto failure = [&document](const char* xml)
    {
        pugi::xml_document variables;
        variables.load_string(xml);
        try
        {
            document.MakeVariableList(variables.document_element());
        }
        catch (const ZKDOMDocException& exception)
        {
            EXPECT_EQ(exception.Status(), TS_ERROR);
            return std::regex_replace(exception.what(), std::regex(R"(\(\d+\))"), "(N)");
        }
        return std::string("none");
    };
    EXPECT_EQ(failure("<v><x:Other type='nope'/></v>"), "Invalid variable type: nope.");
    EXPECT_EQ(failure("<v><x:Other type='LONG'/></v>"),
              "\nZKEngine/Orvanta/DOMDocTestSuite(N): "
              "CDOMDocTestSuite::MakeVariableList:\n"
              "Invalid variable type: x:Other");
    EXPECT_EQ(failure(""), "none");
}

TEST(Document, DisplayStrings)
{
    CRecordingHost host;
    const std::pair<const char*, const char*> rows[] = {
        {"<x:E label='L' name='N'/>", "L"}, {"<x:E label='' name='N'/>", "<<Unknown element>>"},
        {"<x:E name='N'/>", "N"},           {"<x:E name=''/>", "<<Unknown element>>"},
        {"<x:E Label='L'/>", "x:E"},
    };
    for (const auto& [xml, shown] : rows)
    {
        pugi::xml_document element;
        element.load_string(xml);
        EXPECT_EQ(COpenDocument::MakeDisplayString(element.document_element()).toStdString(), shown) << xml;
    }
    EXPECT_EQ(COpenDocument::MakeDisplayString(QString(), {}), QStringLiteral("<<Unknown element>>"));
}

TEST(SuiteState, TheTestNameIsTheStemOfTheLastComponent)
{
    const std::pair<const char*, const char*> rows[] = {
        {"/a/My.Suite.xml", "My.Suite"},
        {"a\\b/suite", "suite"},
        {"/a.b/c\\suite.xml", "suite"},
        {"C:suite.xml", "suite"},
        {"C:\\x\\suite.xml", "suite"},
        {"C:", ""},
        {"c:.xml", ".xml"},
        {"\\\\server.x", ""},
        {"\\\\server\\suite.xml", "suite"},
        {"\\\\server\\", ""},
        {"//server.x", "server"},
        {"/a/stream:b.xml", "stream"},
        {"/a/b.c:d.e", "b"},
        {"/a/.hidden", ".hidden"},
        {"/a/.hidden.xml", ".hidden"},
        {"/a/name.", "name"},
        {"/a/name..", "name."},
        {"/a/.", "."},
        {"/a/..", ".."},
        {"/a/...", ".."},
        {"/a/", ""},
        {"a\\", ""},
        {"", ""},
    };
    for (const auto& [path, name] : rows)
    {
        EXPECT_EQ(TestSuiteState(QString::fromUtf8(path), ACCESS_NONE).TestName().toStdString(), name) << path;
    }
}

TEST(SuiteState, AccessDecidesWhetherItCanBeCalled)
{
    CRecordingHost host;
    const QString path = host.WriteFile(QStringLiteral("suite.xml"), CLoadedSuite::File(EMPTY_GROUPS, ""));
    const struct
    {
        unsigned access;
        bool inApplication;
        bool passedFilter;
    } rows[] = {{0, false, false}, {2, true, false},  {4, false, true},
                {6, true, true},   {8, false, false}, {10, true, false}};
    for (const auto& row : rows)
    {
        TestSuiteState state(path, static_cast<ETestSuiteAccessType>(row.access));
        EXPECT_EQ(state.InApplication(), row.inApplication);
        EXPECT_EQ(state.PassedFilter(), row.passedFilter);
        EXPECT_FALSE(state.IsCallable() || state.AlwaysLoad());
        state.Initialize();
        EXPECT_EQ(state.IsCallable(), row.inApplication);
        state.AlwaysLoad(true);
        EXPECT_TRUE(state.IsCallable());
    }
}

TEST(SuiteState, LifeCycle)
{
    CRecordingHost host;
    const QString name = QStringLiteral("My.Suite.xml");
    const std::string valid = CLoadedSuite::File(
        "<x:InitGroup/><x:Group><x:Function name='f' type='PassFailTest'/></x:Group><x:ExitGroup/>", "");
    TestSuiteState state(host.WriteFile(name, valid), ACCESS_IN_APPLICATION);
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
    EXPECT_EQ(flags(), "");
    EXPECT_EQ(report(), "log TS_NONE L3 abort: Document not set.\n");

    state.Initialize();
    EXPECT_EQ(flags(), "initialized valid document test ");
    EXPECT_EQ(report(), "log TS_NONE L3 -: Loaded 'My.Suite'.\n");

    const TestSuiteState copy(state);
    EXPECT_EQ(copy.Document(), state.Document());
    host.WriteFile(name, CLoadedSuite::File("<x:Tooltip a='1'/>\n<x:InitGroup bc='2'/>\n<x:ExitGroup/>", ""));
    EXPECT_EQ(state.Reload(), &state);
    EXPECT_EQ(flags(), "initialized document ");
    EXPECT_EQ(report(),
              R"(log TS_ERROR L0 diagnostic: Invalid test suite!\n)"
              R"(--------\nError:\nOn line 3, column 19:\nSchema URI: urn:zelkor:test-suite\nSeverity: Error (2)\n)"
              R"(Message: attribute 'a' is not declared for element 'Tooltip'\n)"
              R"(--------\nError:\nOn line 4, column 22:\nSchema URI: urn:zelkor:test-suite\nSeverity: Error (2)\n)"
              R"(Message: attribute 'bc' is not declared for element 'InitGroup'\n)"
              "\n");
    EXPECT_TRUE(copy.IsInitialized() && copy.IsValid() && copy.HasTestFunction() && copy.InApplication());
    EXPECT_EQ(copy.TestName(), QStringLiteral("My.Suite"));
    EXPECT_TRUE(copy.Document()->GetRootElement()) << "the copy's document lives on";

    host.WriteFile(name, CLoadedSuite::File("<x:Variables><x:Local type='DWORD'/></x:Variables>" + EMPTY_GROUPS, ""));
    state.Reload();
    EXPECT_EQ(report(), "log TS_ERROR L0 diagnostic: Invalid test suite!\\n\n");

    host.WriteFile(name, valid);
    const std::shared_ptr<CDOMParser> parser = host.Services.Parser;
    {
        const CNoMemory<xercesc::OutOfMemoryException> memory;
        EXPECT_THROW(state.Reload(), xercesc::OutOfMemoryException);
        EXPECT_EQ(flags(), "");
    }
    {
        const CNoMemory<std::bad_alloc> memory;
        EXPECT_THROW(state.Reload(), std::bad_alloc);
        EXPECT_EQ(flags(), "");
    }
    {
        host.Services.Parser.reset();
        const CNoMemory<std::runtime_error> memory("no parser");
        host.Clear();
        state.Reload();
        EXPECT_EQ(flags(), "initialized ");
        EXPECT_EQ(host.Text(REC_ALL), "log TS_ERROR L1 -: Couldn't initialize test suite: no parser.\n");
        EXPECT_EQ(report(), "log TS_NONE L3 abort: Document not set.\n");
    }
    host.Services.Parser = parser;
    state.Reload();
    EXPECT_EQ(flags(), "initialized valid document test ");
}

TEST(SuiteState, RunsItsTree)
{
    CRecordingHost host;
    TestSuiteState state(QStringLiteral("suite.xml"), ACCESS_IN_APPLICATION);
    EXPECT_THROW(state.RunTestSuite(false), ZKRunTimeException);
    CLoadedSuite suite(host,
                       "<x:InitGroup><x:Function name='Succeed'/></x:InitGroup>"
                       "<x:ExitGroup><x:Function name='Fail'/></x:ExitGroup>",
                       "library='EngineTests'");
    EXPECT_EQ(suite.State().TestSuiteNode(), &suite.Root());
    EXPECT_FALSE(suite.State().RunTestSuite(false));
    EXPECT_EQ(suite.Root().RunState(), RS_FAILED);
}
