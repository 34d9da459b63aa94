#include <HostKit/DOMDoc.h>

#include <CoreKit/PathName.h>
#include <HostKit/DocumentSource.h>

#include <utility>

CDOMDoc::CDOMDoc(CDOMParser* parser, QString schemaNamespaceURI, QString path)
    : m_Parser(parser)
    , m_NamespaceURI(std::move(schemaNamespaceURI))
    , m_Path(std::move(path))
{
}

CDOMDoc::~CDOMDoc() = default;

bool CDOMDoc::ParseDoc()
{
    return ParseSource(std::make_shared<CDocumentSource>(m_Path));
}

bool CDOMDoc::ParseSource(std::shared_ptr<const CDocumentSource> source)
{
    CDOMDoc::Reset();
    m_Errors.clear();
    m_Source = std::move(source);
    if (!m_Source->Obstacle().empty())
    {
        AddError(EErrorKind::Unreadable, m_Source->Obstacle());
        return false;
    }
    const SDocumentText& text = m_Source->Text();
    if (!text.problem.empty())
    {
        AddError(EErrorKind::Xml, text.problem, text.place);
        return false;
    }
    SValidation validation = m_Parser->Validate(*m_Source, m_NamespaceURI);
    const bool valid = validation.Valid();
    m_Errors = std::move(validation.errors);
    if (!valid)
    {
        return false;
    }
    if (const char* const problem = m_Source->TreeProblem())
    {
        AddError(EErrorKind::Xml, problem);
        return false;
    }
    m_Root = m_Source->Tree().document_element();
    m_Parsed = true;
    return true;
}

void CDOMDoc::Reset()
{
    m_Root = pugi::xml_node();
    m_Parsed = false;
}

pugi::xml_node CDOMDoc::GetRootElement() const
{
    return m_Root;
}

QString CDOMDoc::GetAttribute(const pugi::xml_node& node, const QString& name)
{
    return QString::fromUtf8(node.attribute(name.toUtf8().constData()).value());
}

std::map<QString, QString> CDOMDoc::GetAllAttributes(const pugi::xml_node& node)
{
    std::map<QString, QString> attributes;
    for (const pugi::xml_attribute& attribute : node.attributes())
    {
        attributes.emplace(QString::fromUtf8(attribute.name()), QString::fromUtf8(attribute.value()));
    }
    return attributes;
}

pugi::xpath_node_set CDOMDoc::RunQuery(const pugi::xml_node& node, const char* xpath)
{
    return node ? node.select_nodes(xpath) : pugi::xpath_node_set();
}

SElementPlace CDOMDoc::Place(const pugi::xml_node& element) const
{
    return m_Source ? m_Source->Place(element) : SElementPlace();
}

QString CDOMDoc::Name() const
{
    return QString::fromStdString(std::string(LastComponent(m_Path.toStdString())));
}

void CDOMDoc::AddError(EErrorKind kind, std::string message, SElementPlace place)
{
    m_Errors.emplace_back(kind, SEVERITY_FATAL_ERROR, place, std::move(message), m_NamespaceURI.toStdString());
}
