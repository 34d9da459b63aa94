#pragma once

#include <Orvanta/DOMDocTestSuite.h>
#include <Orvanta/OrvantaExport.h>

#include <QString>

#include <memory>

class CTestSuiteNode;
class QObject;

/// One suite file as the host sees it: its path, the load decision, the parsed document and the root of its tree. The
/// host owns it and the root; copies share the document. Usual order: construct with `CDOMDocTestSuite::ShouldLoad`,
/// `Initialize`, `Activate`, `TestSuiteNode`, then any number of runs through `CCallTree`. Reading the file drops the
/// root, whose elements go with the old document: build a new one after each `Initialize` and `Reload`.
class ORVANTA_EXPORT TestSuiteState
{
public:
    /// Does not touch the file.
    TestSuiteState(const QString& path, ETestSuiteAccessType access);
    TestSuiteState(const TestSuiteState&);
    TestSuiteState& operator=(const TestSuiteState&);
    ~TestSuiteState();

    /// Parses and validates the file anew. Only exhausted memory leaves as an exception; a document that can't even be
    /// made is logged.
    void Initialize();
    TestSuiteState* Reload();
    /// Writes to the log what became of the document. The object is not used.
    TestSuiteState* Activate(QObject* unused);
    /// Runs the tree; `ZKRunTimeException` when no root was set since the file was read. The document lives on until
    /// the run ends, whatever becomes of the state meanwhile.
    bool RunTestSuite(bool stopOnFail);

    void TestSuiteNode(CTestSuiteNode* node) { m_TestSuiteNode = node; }
    CTestSuiteNode* TestSuiteNode() const { return m_TestSuiteNode; }

    QString FilePath() const { return m_FilePath; }
    /// The stem of the path's last component.
    QString TestName() const { return m_TestName; }
    /// Null before `Initialize`, and after one that failed to make a document.
    CDOMDocTestSuite* Document() const { return m_Document.get(); }
    bool IsValid() const { return m_IsValid; }
    bool IsLoaded() const { return m_IsLoaded; }
    bool IsInitialized() const { return m_IsInitialized; }
    bool InApplication() const { return m_InApplication; }
    bool AlwaysLoad() const { return m_AlwaysLoad; }
    void AlwaysLoad(bool alwaysLoad) { m_AlwaysLoad = alwaysLoad; }
    bool PassedFilter() const { return m_PassedFilter; }
    bool IsCallable() const { return m_IsInitialized && (m_InApplication || m_AlwaysLoad); }
    bool HasTestFunction() const { return m_Document && m_Document->HasTest(); }

private:
    void Reset();
    void OutputDocumentStatus() const;

    QString m_FilePath;
    QString m_TestName;
    std::shared_ptr<CDOMDocTestSuite> m_Document;
    bool m_IsValid = false;
    bool m_IsLoaded = false;
    bool m_InApplication;
    bool m_AlwaysLoad = false;
    bool m_IsInitialized = false;
    bool m_PassedFilter;
    CTestSuiteNode* m_TestSuiteNode = nullptr;
};
