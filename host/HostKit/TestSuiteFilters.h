#pragma once

#include <HostKit/HostKitExport.h>

#include <QString>
#include <QStringList>

#include <vector>

class CAppSettings;

/// A filter over suites: which configurations the operator wants to see.
class HOSTKIT_EXPORT CFilter
{
public:
    CFilter(const QString& name, const QStringList& categories, bool hideUnfiltered, bool unrestricted);

    const QString& Name() const { return m_Name; }
    const QStringList& Categories() const { return m_Categories; }
    bool HideUnfiltered() const { return m_HideUnfiltered; }
    /// True when the filter lets every suite pass.
    bool Unrestricted() const { return m_Unrestricted; }

private:
    QString m_Name;
    QStringList m_Categories;
    bool m_HideUnfiltered;
    bool m_Unrestricted;
};

/// The filters the host knows, by index.
class HOSTKIT_EXPORT CTestSuiteFilters
{
public:
    void Add(const CFilter& filter) { m_Filters.push_back(filter); }
    bool Empty() const { return m_Filters.empty(); }
    /// Null when there is none at the index.
    const CFilter* Filter(int index) const;
    /// The index of the filter with that name, -1 when there is none.
    int IndexOf(const QString& name) const;

private:
    std::vector<CFilter> m_Filters;
};

/// The part of the host's configuration that the operator may change.
class HOSTKIT_EXPORT ZKCustomConfiguration
{
public:
    CTestSuiteFilters& TestSuiteFilters() { return m_Filters; }
    const CTestSuiteFilters& TestSuiteFilters() const { return m_Filters; }

    /// Adds the filters that the settings declare, one for each section "filter:NAME". Throws `ZKRunTimeException` when
    /// a flag is neither true nor false.
    void ReadFilters(const CAppSettings& settings);

private:
    CTestSuiteFilters m_Filters;
};
