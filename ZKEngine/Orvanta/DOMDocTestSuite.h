#pragma once

#include <Orvanta/OrvantaExport.h>
#include <Orvanta/VariableList.h>

#include <HostKit/DOMDoc.h>

#include <QString>

#include <pugixml.hpp>

#include <cstdint>
#include <map>

/// The load decision for a suite file, a bit set.
enum ETestSuiteAccessType : std::uint32_t
{
    ACCESS_NONE = 0,
    ACCESS_IN_APPLICATION = 2,  ///< the suite is for the running application
    ACCESS_PASSED_FILTER = 4,   ///< the operator's current filter lets it pass
    ACCESS_HIDE_UNFILTERED = 8, ///< it does not, and the filter hides such suites
};

constexpr ETestSuiteAccessType operator|(ETestSuiteAccessType left, ETestSuiteAccessType right)
{
    return static_cast<ETestSuiteAccessType>(static_cast<std::uint32_t>(left) | static_cast<std::uint32_t>(right));
}

/// A parsed and validated suite file with what its top level says. Owned by its `TestSuiteState`. Documents share one
/// parser, made by the first of them and kept by the application's state.
class ORVANTA_EXPORT CDOMDocTestSuite : public CDOMDoc
{
public:
    /// The file is not read yet. Throws when the shared parser can't be made.
    explicit CDOMDocTestSuite(const QString& path);
    ~CDOMDocTestSuite() override;

    /// Parses, validates and reads the top level, afresh each time. False when the file is not valid (its errors are
    /// kept) or its variables are wrong (no error is kept). Only exhausted memory leaves as an exception.
    bool ParseDoc() override;
    void Reset() override;

    static QString GetSchemaName();
    static QString GetSchemaNamespaceURI();

    /// Whether the file belongs to the application and passes the operator's filter. Reads only the root's attributes
    /// and never throws for a bad file: what can't be read gives `ACCESS_NONE`.
    static ETestSuiteAccessType ShouldLoad(const QString& path);
    /// The same of a file read already. While it is installed as `SHostServices::Document`, a document of its path is
    /// parsed from it too, so that what was decided about is what is loaded.
    static ETestSuiteAccessType ShouldLoad(const CDocumentSource& source);

    QString LibFileName() const { return m_LibFileName; }
    QString LogName() const { return m_LogName; }
    QString ToolTip() const { return m_ToolTip; }
    QString LibraryLoadErrorMsg() const { return m_LibraryLoadErrorMsg; }
    /// Whether a top-level group holds a function of the type "PassFailTest".
    bool HasTest() const { return m_HasTest; }
    CVariableList* VariableList() { return &m_DocVariableList; }

    /// Slots for a host's own use of the top level; parsing leaves them null.
    pugi::xml_node Variables() const { return m_VariablesNode; }
    pugi::xml_node InitGroup() const { return m_InitGroup; }
    pugi::xml_node ExitGroup() const { return m_ExitGroup; }
    pugi::xpath_node_set Groups() const { return m_Groups; }

protected:
    static constexpr std::uint64_t MAX_PARAMETER_COUNT = 25;

    /// What an element is called towards people: its label, else its name, else its element name.
    static QString MakeDisplayString(const QString& element, const std::map<QString, QString>& attributes);
    static QString MakeDisplayString(const pugi::xml_node& node);

    /// Adds the declarations of an "x:Variables" element. Throws for a bad type, a duplicate or another element.
    void MakeVariableList(const pugi::xml_node& variables);

private:
    void ReadTopLevel(const pugi::xml_node& root);
    static bool HasPassFailTest(const pugi::xml_node& root);

    QString m_LibFileName;
    QString m_LogName;
    QString m_LibraryLoadErrorMsg;
    QString m_ToolTip;
    pugi::xml_node m_VariablesNode;
    pugi::xml_node m_InitGroup;
    pugi::xml_node m_ExitGroup;
    pugi::xpath_node_set m_Groups;
    bool m_HasTest = false;
    CVariableList m_DocVariableList;
};
