#include "Answers.h"

#include "StartFolder.h"

#include <CoreKit/Exceptions.h>
#include <Events/Answer.h>
#include <HostKit/ReplaceFile.h>

#include <QFile>
#include <QSaveFile>
#include <QString>

#include <nlohmann/json.hpp>

#include <optional>
#include <utility>

using TJson = nlohmann::ordered_json;

namespace
{
SScriptedAnswer EntryOf(const TJson& entry)
{
    if (!entry.is_object() || !entry.contains("answer"))
    {
        throw ZKRunTimeException("it is no object with an \"answer\"");
    }
    for (const auto& [key, value] : entry.items())
    {
        if (key != "answer" && key != "text")
        {
            throw ZKRunTimeException("it has the unknown key \"" + key + "\"");
        }
    }
    const TJson& given = entry["answer"]; // what has parts is none, and may be nested deeply
    const std::optional<TPromptAnswer> answer =
        given.is_structured() ? std::nullopt : ParseAnswer(given.dump(-1, ' ', false, TJson::error_handler_t::replace));
    if (!answer)
    {
        throw ZKRunTimeException("its answer is not " + std::string(ANSWER_FORMS));
    }
    if (!entry.contains("text"))
    {
        return {*answer, std::nullopt};
    }
    if (!entry["text"].is_string())
    {
        throw ZKRunTimeException("its \"text\" is no text");
    }
    return {*answer, entry["text"].get<std::string>()};
}

TJson ReadJson(const std::string& path)
{
    QFile file(QFile::decodeName(path.c_str()));
    if (!file.open(QIODevice::ReadOnly))
    {
        ThrowFormatted<ZKRunTimeException>("%s: the answers cannot be read: %s", path.c_str(),
                                           qUtf8Printable(file.errorString()));
    }
    const QByteArray bytes = file.readAll();
    try
    {
        return TJson::parse(bytes.begin(), bytes.end());
    }
    catch (const TJson::exception& exception)
    {
        ThrowFormatted<ZKRunTimeException>("%s: the answers are not valid JSON: %s", path.c_str(), exception.what());
    }
}
} // namespace

std::deque<SScriptedAnswer> ReadAnswers(const std::string& path)
{
    const TJson list = ReadJson(path);
    if (!list.is_array())
    {
        ThrowFormatted<ZKRunTimeException>("%s: the answers are no JSON array", path.c_str());
    }
    std::deque<SScriptedAnswer> answers;
    for (const TJson& entry : list)
    {
        try
        {
            answers.push_back(EntryOf(entry));
        }
        catch (const ZKRunTimeException& exception)
        {
            ThrowFormatted<ZKRunTimeException>("%s: entry %zu of the answers: %s", path.c_str(), answers.size() + 1,
                                               exception.what());
        }
    }
    return answers;
}

CSavedAnswers::CSavedAnswers(const std::string& path)
    : m_Path(path)
    , m_Target(FromStart(path))
{
    // Only a trial: what an earlier run saved stays until there is an answer to save.
    QSaveFile trial(QFile::decodeName(m_Path.c_str()));
    if (!trial.open(QIODevice::WriteOnly))
    {
        throw ZKRunTimeException(m_Path + ": the answers cannot be written: " + trial.errorString().toStdString());
    }
    trial.cancelWriting();
}

void CSavedAnswers::Take(const SEvent& event)
{
    if (const auto* const prompt = std::get_if<SPromptEvent>(&event.what))
    {
        const TJson text = prompt->prompt.text;
        std::string entry = "{\"text\":" + text.dump(-1, ' ', false, TJson::error_handler_t::replace) + ",\"answer\":";
        AppendAnswer(prompt->answer, entry);
        m_Entries.push_back(entry + '}');
        Write();
    }
}

void CSavedAnswers::Write()
{
    std::string text = "[";
    for (const std::string& entry : m_Entries)
    {
        text += (text.size() > 1 ? ",\n  " : "\n  ") + entry;
    }
    text += m_Entries.empty() ? "]\n" : "\n]\n";
    const std::string reason = ReplaceFile(m_Target, text);
    m_WriteError = reason.empty() ? "" : m_Path + ": the answers cannot be written: " + reason;
}
