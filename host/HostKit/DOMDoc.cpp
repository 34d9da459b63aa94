#include <HostKit/DOMDoc.h>

#include "DocumentText.h"

#include <CoreKit/Format.h>
#include <CoreKit/PathName.h>

#include <QFile>
#include <QFileInfo>

#include <new>

namespace
{
/// The node after this one in document order, null at the end.
pugi::xml_node Following(pugi::xml_node node)
{
    if (node.first_child())
    {
        return node.first_child();
    }
    while (node && !node.next_sibling())
    {
        node = node.parent();
    }
    return node.next_sibling();
}

/// Why there is nothing to read at a path; null when there is a file.
const char* Obstacle(const QFileInfo& file)
{
    if (!file.exists())
    {
        return "no such file";
    }
    if (file.isDir())
    {
        return "is a folder, not a file";
    }
    return file.isFile() ? nullptr : "is not a regular file";
}
} // namespace

CDOMDoc::CDOMDoc(CDOMParser* parser, const QString& schemaNamespaceURI, const QString& path)
    : m_Parser(parser)
    , m_NamespaceURI(schemaNamespaceURI)
    , m_Path(path)
{
}

CDOMDoc::~CDOMDoc() = default;

bool CDOMDoc::ParseDoc()
{
    CDOMDoc::Reset();
    m_Errors.clear();
    QByteArray bytes;
    if (!ReadFile(bytes))
    {
        return false;
    }
    SDocumentText text = ToDocumentText(bytes);
    if (!text.problem.empty())
    {
        AddError(std::move(text.problem), text.place);
        return false;
    }
    SValidation validation = m_Parser->Validate(text.utf8, m_NamespaceURI, m_Path);
    const bool valid = validation.Valid();
    m_Errors = std::move(validation.errors);
    if (!valid)
    {
        return false;
    }
    const pugi::xml_parse_result result = m_Document.load_buffer(
        text.utf8.constData(), static_cast<std::size_t>(text.utf8.size()), pugi::parse_default, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory)
    {
        throw std::bad_alloc();
    }
    if (!result)
    {
        m_Document.reset();
        AddError(result.description());
        return false;
    }
    RememberPlaces(validation.places);
    m_Parsed = true;
    return true;
}

void CDOMDoc::Reset()
{
    m_Document.reset();
    m_Places.clear();
    m_Parsed = false;
}

pugi::xml_node CDOMDoc::GetRootElement() const
{
    return m_Document.document_element();
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
    const auto found = m_Places.find(element.hash_value());
    return found == m_Places.end() ? SElementPlace() : found->second;
}

QString CDOMDoc::Name() const
{
    return QString::fromStdString(std::string(LastComponent(m_Path.toStdString())));
}

bool CDOMDoc::ReadFile(QByteArray& bytes)
{
    const QByteArray path = m_Path.toUtf8();
    const char* obstacle = Obstacle(QFileInfo(m_Path));
    if (obstacle)
    {
        AddError(FormatText("%s: %s", path.constData(), obstacle).c_str());
        return false;
    }
    QFile file(m_Path);
    if (file.open(QIODevice::ReadOnly))
    {
        bytes = file.readAll();
    }
    if (file.error() != QFileDevice::NoError)
    {
        const QByteArray reason = file.errorString().toUtf8();
        AddError(FormatText("%s: cannot be read: %s", path.constData(), reason.constData()).c_str());
        return false;
    }
    if (bytes.isEmpty())
    {
        AddError(FormatText("%s: is empty", path.constData()).c_str());
        return false;
    }
    return true;
}

void CDOMDoc::AddError(std::string message, SElementPlace place)
{
    m_Errors.emplace_back(place.line, place.column, SEVERITY_FATAL_ERROR, std::move(message),
                          m_NamespaceURI.toStdString());
}

void CDOMDoc::RememberPlaces(const std::vector<SElementPlace>& places)
{
    std::size_t next = 0;
    for (pugi::xml_node node = m_Document.first_child(); node && next < places.size(); node = Following(node))
    {
        if (node.type() == pugi::node_element)
        {
            m_Places.emplace(node.hash_value(), places[next++]);
        }
    }
}
