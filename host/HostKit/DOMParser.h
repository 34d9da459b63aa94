#pragma once

#include <HostKit/DOMError.h>
#include <HostKit/HostKitExport.h>

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <memory>
#include <vector>

class CDocumentSource;

/// Every problem that a validation found, with its place.
struct SValidation
{
    std::vector<CDOMError> errors;

    /// True when nothing worse than a warning was found.
    bool Valid() const;
};

/// Validates documents against one of HostKit's schemas, whose grammar is loaded once. Nothing outside the document is
/// ever fetched: document type definitions and entities are refused, and elements may nest 256 deep at the most.
class HOSTKIT_EXPORT CDOMParser
{
public:
    static constexpr unsigned MAX_DEPTH = 256;
    /// A validation stops behind so many errors; one more says so.
    static constexpr std::size_t MAX_ERRORS = 1000;

    /// `schema` is the file name of a schema built into HostKit. Throws `ZKDOMDocException` when there is none of that
    /// name or it is not a valid schema.
    explicit CDOMParser(const QString& schema);
    ~CDOMParser();
    CDOMParser(const CDOMParser&) = delete;
    CDOMParser& operator=(const CDOMParser&) = delete;

    /// Validates the text of a source, which has one, whatever encoding it declares. `namespaceURI` is the schema's;
    /// its elements carry the prefix "x". Exhausted memory leaves as `std::bad_alloc` or Xerces-C's
    /// `OutOfMemoryException`; every other problem is in the result.
    SValidation Validate(const CDocumentSource& source, const QString& namespaceURI);

    /// The text of a schema built into HostKit; empty when there is none of that name.
    static QByteArray SchemaText(const QString& schema);

private:
    class CGrammar;
    std::unique_ptr<CGrammar> m_Grammar;
};
