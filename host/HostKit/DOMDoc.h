#pragma once

#include <HostKit/DOMError.h>
#include <HostKit/DOMParser.h>
#include <HostKit/HostKitExport.h>

#include <QString>

#include <pugixml.hpp>

#include <map>
#include <unordered_map>
#include <vector>

/// A validated XML document. The file is read and converted to UTF-8 once; Xerces-C validates that text and pugixml
/// makes the tree of the same text. Handles to nodes die with the document or its next `ParseDoc`.
class HOSTKIT_EXPORT CDOMDoc
{
public:
    /// `parser` is not owned and outlives the document.
    CDOMDoc(CDOMParser* parser, const QString& schemaNamespaceURI, const QString& path);
    virtual ~CDOMDoc();
    CDOMDoc(const CDOMDoc&) = delete;
    CDOMDoc& operator=(const CDOMDoc&) = delete;

    /// Reads and validates the file; false, with the errors kept, when it cannot be read or is not valid. Exhausted
    /// memory leaves as an exception.
    virtual bool ParseDoc();
    /// Drops the tree and marks the document as not parsed; the errors stay.
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

    /// Where an element of this document begins; line 0 for anything else.
    SElementPlace Place(const pugi::xml_node& element) const;

    /// The path as given, and its last component.
    QString FileName() const { return m_Path; }
    QString Name() const;

private:
    bool ReadFile(QByteArray& bytes);
    void AddError(std::string message, SElementPlace place = {});
    void RememberPlaces(const std::vector<SElementPlace>& places);

    CDOMParser* m_Parser;
    QString m_NamespaceURI;
    QString m_Path;
    pugi::xml_document m_Document;
    std::vector<CDOMError> m_Errors;
    std::unordered_map<std::size_t, SElementPlace> m_Places; ///< by pugixml's hash of the element
    bool m_Parsed = false;
};
