#pragma once

#include <HostKit/DOMError.h>
#include <HostKit/DOMParser.h>
#include <HostKit/HostKitExport.h>

#include <QString>

#include <pugixml.hpp>

#include <map>
#include <memory>
#include <vector>

class CDocumentSource;

/// A validated XML document. Its source is read once; Xerces-C validates the text and pugixml makes the tree of the
/// same text. Handles to nodes die with the last who holds the source: the document does until its next `ParseDoc`.
class HOSTKIT_EXPORT CDOMDoc
{
public:
    /// `parser` is not owned and outlives the document.
    CDOMDoc(CDOMParser* parser, QString schemaNamespaceURI, QString path);
    virtual ~CDOMDoc();
    CDOMDoc(const CDOMDoc&) = delete;
    CDOMDoc& operator=(const CDOMDoc&) = delete;

    /// Reads and validates the file; false, with the errors kept, when it cannot be read or is not valid. Exhausted
    /// memory leaves as an exception.
    virtual bool ParseDoc();
    /// Lets go of the root and marks the document as not parsed; the errors and the source stay.
    virtual void Reset();

    void SetParsed(bool parsed) { m_Parsed = parsed; }
    bool Parsed() const { return m_Parsed; }

    pugi::xml_node GetRootElement() const;
    /// The attribute's text, empty when it is missing.
    static QString GetAttribute(const pugi::xml_node& node, const QString& name);
    static std::map<QString, QString> GetAllAttributes(const pugi::xml_node& node);
    /// XPath from a node; an empty set when the node is null. Throws `pugi::xpath_exception` for a bad query.
    static pugi::xpath_node_set RunQuery(const pugi::xml_node& node, const char* xpath);

    std::size_t ErrorCount() const { return m_Errors.size(); }
    const CDOMError& Error(std::size_t index) const { return m_Errors.at(index); }

    /// What the last `ParseDoc` read, also when it failed; null before the first.
    const std::shared_ptr<const CDocumentSource>& Source() const { return m_Source; }
    /// Where an element of this document begins; line 0 for anything else.
    SElementPlace Place(const pugi::xml_node& element) const;

    /// The path as given, and its last component.
    QString FileName() const { return m_Path; }
    QString Name() const;

protected:
    /// `ParseDoc` of what has been read already, from this document's path.
    bool ParseSource(std::shared_ptr<const CDocumentSource> source);

private:
    void AddError(EErrorKind kind, std::string message, SElementPlace place = {});

    CDOMParser* m_Parser;
    QString m_NamespaceURI;
    QString m_Path;
    std::shared_ptr<const CDocumentSource> m_Source;
    pugi::xml_node m_Root; ///< null unless the source is valid
    std::vector<CDOMError> m_Errors;
    bool m_Parsed = false;
};
