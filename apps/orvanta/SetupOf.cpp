#include "SetupOf.h"

#include "Terminal.h"

#include <CoreKit/Exceptions.h>

#include <QFile>
#include <QStandardPaths>

namespace
{
/// Where the settings are: the user's own may be missing, but with a file that was named a mistyped name would change
/// the product, the filter and the lock without a word.
std::string SettingsPath(const SOptions& options)
{
    if (!options.settings)
    {
        return (QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                QStringLiteral("/orvanta/settings.ini"))
            .toStdString();
    }
    if (!QFile::exists(QFile::decodeName(options.settings->c_str())))
    {
        ThrowFormatted<ZKRunTimeException>("%s: the settings cannot be read: no such file", options.settings->c_str());
    }
    return *options.settings;
}
} // namespace

SSetup SetupOf(const SOptions& options)
{
    SSetup setup;
    setup.libraryPath = options.libraryPath;
    setup.settings = SettingsPath(options);
    setup.product = options.product;
    setup.filter = options.filter;
    setup.executionType = options.executionType;
    setup.debug = options.debug;
    setup.stopOnFailure = options.stopOnFailure;
    setup.lockWait = options.lockWait;
    setup.meta = options.meta;
    setup.logLevel = options.logLevel;
    setup.whyNobodyAnswers = options.unattended
        ? "the run is unattended (--unattended), and no list of answers (--answers)"
        : "there is no terminal, and no list of answers (--answers)";
    return setup;
}

SSetup ReadingSetupOf(const SOptions& options)
{
    SSetup setup = SetupOf(options);
    setup.readOnly = true;
    return setup;
}

STerminalStyle StyleOf(const SOptions& options, bool asksAtTerminal)
{
    STerminalStyle style;
    style.level = options.logLevel;
    style.color = InForce(options.color, stdout);
    style.progress = InForce(options.progress, stderr);
    style.showsDialogs = asksAtTerminal;
    return style;
}
