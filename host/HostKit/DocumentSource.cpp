#include <HostKit/DocumentSource.h>

#include "PlaceTable.h"

#include <CoreKit/Format.h>

#include <QFile>
#include <QFileInfo>

#include <new>
#include <string_view>
#include <utility>

namespace
{
/// Why there is nothing to read at a path; null when there is a file.
const char* ObstacleAt(const QFileInfo& file)
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

CDocumentSource::CDocumentSource(QString path)
    : m_Path(std::move(path))
{
    Read();
}

CDocumentSource::~CDocumentSource() = default;

const SDocumentText& CDocumentSource::Text() const
{
    if (!m_Text)
    {
        m_Text = ToDocumentText(m_Bytes);
    }
    return *m_Text;
}

const pugi::xml_document& CDocumentSource::Tree() const
{
    if (!m_Tree)
    {
        const QByteArray& utf8 = Text().utf8;
        pugi::xml_document& tree = m_Tree.emplace();
        m_TreeResult = tree.load_buffer(utf8.constData(), static_cast<std::size_t>(utf8.size()), pugi::parse_default,
                                        pugi::encoding_utf8);
        if (m_TreeResult.status == pugi::status_out_of_memory)
        {
            m_Tree.reset();
            throw std::bad_alloc();
        }
    }
    return *m_Tree;
}

const char* CDocumentSource::TreeProblem() const
{
    Tree();
    return m_TreeResult ? nullptr : m_TreeResult.description();
}

SElementPlace CDocumentSource::Place(const pugi::xml_node& element) const
{
    if (element.type() != pugi::node_element || !m_Tree || element.root() != *m_Tree || element.offset_debug() < 1)
    {
        return {};
    }
    if (!m_Places)
    {
        const QByteArray& utf8 = Text().utf8;
        m_Places =
            std::make_unique<CPlaceTable>(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
    }
    return m_Places->PlaceOf(static_cast<std::size_t>(element.offset_debug() - 1)); // of the name, behind its "<"
}

void CDocumentSource::Read()
{
    const QByteArray path = m_Path.toUtf8();
    if (const char* const obstacle = ObstacleAt(QFileInfo(m_Path)))
    {
        m_Obstacle = FormatText("%s: %s", path.constData(), obstacle).c_str();
        return;
    }
    QFile file(m_Path);
    if (file.open(QIODevice::ReadOnly))
    {
        m_Bytes = file.readAll();
    }
    if (file.error() != QFileDevice::NoError)
    {
        const QByteArray reason = file.errorString().toUtf8();
        m_Obstacle = FormatText("%s: cannot be read: %s", path.constData(), reason.constData()).c_str();
        m_Bytes.clear();
    }
    else if (m_Bytes.isEmpty())
    {
        m_Obstacle = FormatText("%s: is empty", path.constData()).c_str();
    }
}
