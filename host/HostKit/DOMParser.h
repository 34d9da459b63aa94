#pragma once

#include <HostKit/DOMError.h>
#include <HostKit/HostKitExport.h>

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

/// Where an element begins in its file, counted from 1; line 0 for no place.
struct SElementPlace
{
    std::uint64_t line = 0;
    std::uint64_t column = 0;
};

/// What a validation found: every problem, and the place of every element in document order.
struct SValidation
{
    std::vector<CDOMError> errors;
    std::vector<SElementPlace> places;

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

    /// Validates a document given as UTF-8, whatever encoding it declares. `namespaceURI` is the schema's; its elements
    /// carry the prefix "x". Exhausted memory leaves as `std::bad_alloc` or Xerces-C's `OutOfMemoryException`; every
    /// other problem is in the result.
    SValidation Validate(const QByteArray& utf8, const QString& namespaceURI, const QString& path);

    /// The text of a schema built into HostKit; empty when there is none of that name.
    static QByteArray SchemaText(const QString& schema);

private:
    class CGrammar;
    std::unique_ptr<CGrammar> m_Grammar;
};
