#pragma once

#include <HostKit/DOMError.h>

#include <QByteArray>

#include <string>

/// An XML document as UTF-8 without a byte order mark, or what keeps its bytes from being read and where.
struct SDocumentText
{
    QByteArray utf8;
    std::string problem; ///< empty when the text is good
    SElementPlace place; ///< of the problem, in the text
};

/// Converts a document to UTF-8. Its encoding is UTF-8, UTF-16, UTF-32, US-ASCII or ISO-8859-1 as byte order mark,
/// first bytes and XML declaration say together: another encoding, a contradiction between the three, an invalid
/// character and a NUL are problems. The declaration stays as it stands.
SDocumentText ToDocumentText(const QByteArray& bytes);
