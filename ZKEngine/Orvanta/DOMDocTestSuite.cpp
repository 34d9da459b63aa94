#include <Orvanta/DOMDocTestSuite.h>

#include <Orvanta/Element.h>

#include <CoreKit/CatchLadder.h>
#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/DocumentSource.h>
#include <HostKit/TestSuiteFilters.h>

#include <QStringList>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/DOMDocTestSuite";

constexpr ETestSuiteAccessType ACCESS_GRANTED = ACCESS_IN_APPLICATION | ACCESS_PASSED_FILTER;

CDOMParser* SharedParser()
{
    if (!CAppState::Orvanta())
    {
        CAppState::Orvanta(std::make_shared<CDOMParser>(CDOMDocTestSuite::GetSchemaName()));
    }
    return CAppState::Orvanta();
}

/// The file at a path: as the host has read it already, else as it is now.
std::shared_ptr<const CDocumentSource> SourceOf(const QString& path)
{
    const std::shared_ptr<const CDocumentSource>& installed = CAppState::Services().Document;
    return installed && installed->Path() == path ? installed : std::make_shared<CDocumentSource>(path);
}

/// Takes over the text of the first node, if there is one.
void ReadFirstText(const pugi::xpath_node_set& nodes, QString& text)
{
    if (!nodes.empty())
    {
        text = QString::fromUtf8(ElementText(nodes.first().node()).c_str());
    }
}

QStringList SplitList(const pugi::xml_attribute& attribute)
{
    return QString::fromUtf8(attribute.value()).split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

const CFilter* CurrentRestriction()
{
    const ZKCustomConfiguration* configuration = CAppState::CustomConfiguration();
    if (!configuration || configuration->TestSuiteFilters().Empty())
    {
        return nullptr;
    }
    const CFilter* filter = configuration->TestSuiteFilters().Filter(CAppState::CurrentFilter());
    return filter && !filter->Unrestricted() ? filter : nullptr;
}

ETestSuiteAccessType ApplyFilter(const pugi::xml_node& root)
{
    const CFilter* filter = CurrentRestriction();
    const pugi::xml_attribute configurations = root.attribute("configurations");
    if (!filter || std::string_view(configurations.value()).empty())
    {
        return ACCESS_GRANTED;
    }
    const QStringList covered = SplitList(configurations);
    const QStringList categories = filter->Categories();
    const bool matches =
        std::any_of(categories.begin(), categories.end(),
                    [&](const QString& category) { return covered.contains(category, Qt::CaseInsensitive); });
    if (matches)
    {
        return ACCESS_GRANTED;
    }
    return filter->HideUnfiltered() ? ACCESS_IN_APPLICATION | ACCESS_HIDE_UNFILTERED : ACCESS_IN_APPLICATION;
}
} // namespace

CDOMDocTestSuite::CDOMDocTestSuite(const QString& path)
    : CDOMDoc(SharedParser(), GetSchemaNamespaceURI(), path)
{
}

CDOMDocTestSuite::~CDOMDocTestSuite() = default;

QString CDOMDocTestSuite::GetSchemaName()
{
    return QStringLiteral("ZKTestSuiteSchema.xsd");
}

QString CDOMDocTestSuite::GetSchemaNamespaceURI()
{
    return QStringLiteral("urn:zelkor:test-suite");
}

bool CDOMDocTestSuite::ParseDoc()
{
    return Guarded(
        [this]
        {
            CDOMDocTestSuite::Reset();
            m_HasTest = false;
            m_DocVariableList.Clear();
            if (!ParseSource(SourceOf(FileName())))
            {
                return false;
            }
            SetParsed(false);
            ReadTopLevel(GetRootElement());
            SetParsed(true);
            return true;
        },
        [this](const std::exception&)
        {
            Reset();
            return false;
        });
}

void CDOMDocTestSuite::ReadTopLevel(const pugi::xml_node& root)
{
    m_LibFileName = GetAttribute(root, QStringLiteral("library"));
    if (m_LibFileName.isEmpty())
    {
        m_LibFileName = GetAttribute(root, QStringLiteral("dll"));
    }
    m_LogName = GetAttribute(root, QStringLiteral("name"));

    pugi::xpath_node_set loadErrors = RunQuery(root, "x:LibraryLoadError");
    if (loadErrors.empty())
    {
        loadErrors = RunQuery(root, "x:DllLoadError");
    }
    ReadFirstText(loadErrors, m_LibraryLoadErrorMsg);
    ReadFirstText(RunQuery(root, "x:Tooltip"), m_ToolTip);
    MakeVariableList(RunQuery(root, "x:Variables").first().node());
    m_HasTest = HasPassFailTest(root);
}

bool CDOMDocTestSuite::HasPassFailTest(const pugi::xml_node& root)
{
    for (const pugi::xpath_node& group : RunQuery(root, "x:Group"))
    {
        for (const pugi::xpath_node& function : RunQuery(group.node(), ".//x:Function"))
        {
            if (GetAttribute(function.node(), QStringLiteral("type")) == QLatin1String("PassFailTest"))
            {
                return true;
            }
        }
    }
    return false;
}

void CDOMDocTestSuite::Reset()
{
    m_LibFileName.clear();
    m_LogName.clear();
    m_ToolTip.clear();
    m_LibraryLoadErrorMsg.clear();
    m_VariablesNode = pugi::xml_node();
    m_InitGroup = pugi::xml_node();
    m_ExitGroup = pugi::xml_node();
    CDOMDoc::Reset();
}

QString CDOMDocTestSuite::MakeDisplayString(const QString& element, const std::map<QString, QString>& attributes)
{
    QString display = element;
    for (const char* key : {"label", "name"})
    {
        const auto found = attributes.find(QString::fromLatin1(key));
        if (found != attributes.end())
        {
            display = found->second;
            break;
        }
    }
    return display.isEmpty() ? QStringLiteral("<<Unknown element>>") : display;
}

QString CDOMDocTestSuite::MakeDisplayString(const pugi::xml_node& node)
{
    return MakeDisplayString(QString::fromUtf8(node.name()), GetAllAttributes(node));
}

void CDOMDocTestSuite::MakeVariableList(const pugi::xml_node& variables)
{
    if (const pugi::xml_node other = AddDeclarations(m_DocVariableList, variables))
    {
        ThrowAt<ZKDOMDocException>({SOURCE_FILE, __LINE__, "CDOMDocTestSuite::MakeVariableList"},
                                   "Invalid variable type: %s", other.name());
    }
}

ETestSuiteAccessType CDOMDocTestSuite::ShouldLoad(const QString& path)
{
    return ShouldLoad(CDocumentSource(path));
}

ETestSuiteAccessType CDOMDocTestSuite::ShouldLoad(const CDocumentSource& source)
{
    pugi::xml_document document; // of the bytes: a file whose text is refused is decided about all the same
    document.load_buffer(source.Bytes().constData(), static_cast<std::size_t>(source.Bytes().size()));
    const pugi::xml_node root = document.document_element();
    if (!root)
    {
        return ACCESS_NONE;
    }
    std::string label;
    CAppState::AppSettings().GetAppSetting("TestScriptLabel", label, 0);
    if (label.empty() || root.attribute("alwaysload").as_bool())
    {
        return ACCESS_GRANTED;
    }
    if (!SplitList(root.attribute("products")).contains(QString::fromStdString(label), Qt::CaseInsensitive))
    {
        return ACCESS_NONE;
    }
    return ApplyFilter(root);
}
