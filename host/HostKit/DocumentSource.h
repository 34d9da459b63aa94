#pragma once

#include <HostKit/DOMError.h>
#include <HostKit/DocumentText.h>
#include <HostKit/HostKitExport.h>

#include <QByteArray>
#include <QString>

#include <pugixml.hpp>

#include <memory>
#include <optional>
#include <string>

class CPlaceTable;

/// A file as it was when this was made: its bytes, and the text, the tree and the places of its elements, each made
/// when it is first asked for. Whoever decides about a document, validates it, builds from it or explains what is wrong
/// with it shares one source and so sees the same file. One thread at a time; only exhausted memory leaves as an
/// exception.
class HOSTKIT_EXPORT CDocumentSource
{
public:
    /// Reads the whole file.
    explicit CDocumentSource(QString path);
    ~CDocumentSource();
    CDocumentSource(const CDocumentSource&) = delete;
    CDocumentSource& operator=(const CDocumentSource&) = delete;

    /// The path as given.
    const QString& Path() const { return m_Path; }
    const QByteArray& Bytes() const { return m_Bytes; }
    /// Why there is nothing to read, the path in front; empty when there is.
    const std::string& Obstacle() const { return m_Obstacle; }

    /// The bytes as UTF-8, or what keeps them from being that.
    const SDocumentText& Text() const;
    /// The tree of the text, as far as it is well-formed, whether valid or not; empty without text. Its nodes are for
    /// reading and live as long as the source.
    const pugi::xml_document& Tree() const;
    /// What ended the making of the tree; null when it is whole.
    const char* TreeProblem() const;
    /// Where an element of the tree begins; line 0 for anything else.
    SElementPlace Place(const pugi::xml_node& element) const;

private:
    void Read();

    QString m_Path;
    QByteArray m_Bytes;
    std::string m_Obstacle;
    mutable std::optional<SDocumentText> m_Text;
    mutable std::optional<pugi::xml_document> m_Tree;
    mutable pugi::xml_parse_result m_TreeResult;
    mutable std::unique_ptr<const CPlaceTable> m_Places;
};
