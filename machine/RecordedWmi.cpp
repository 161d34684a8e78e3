#include "machine/RecordedWmi.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "machine/Answers.h"
#include "machine/LogLines.h"
#include "machine/Questions.h"
#include "st-core/lib/Utf8.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace HardwareInventory
{
namespace
{
using ErrorHandling::ErrorCode;
using ErrorHandling::Exception;
using Providers::WMIProvider::ManagementObject;
using Providers::WMIProvider::ManagementObjectPtr;
using Providers::WMIProvider::Null;
using Providers::WMIProvider::ObjectCallback;
using Providers::WMIProvider::OtherType;
using Providers::WMIProvider::PropertyValue;
using Providers::WMIProvider::Unreadable;
using ZelStdCore::LastError;
using ZelStdCore::toUtf8;
using Texts = std::vector<std::wstring>;

constexpr wchar_t kSourceFile[] = L"machine\\RecordedWmi.cpp";

// Of the system: there is no such namespace.
constexpr std::uint32_t kNotFound = 2;

// The codes of WMI's failures, in the order of their enumeration.
constexpr auto kCodeNames =
    std::to_array({"comInitialization", "wmiSecurity", "wmiLocator", "wmiBind", "wmiSecurityBlanket", "wmiQuery"});
static_assert(kCodeNames.size() == static_cast<std::size_t>(ErrorCode::wmiQuery) + 1);

// Thrown for a value that does not convert. Like the error of COM that it stands for, no std::exception.
struct ConversionError
{
};

ErrorCode codeOf(const Json& answer)
{
    const auto found = std::ranges::find(kCodeNames, answer.at("exception").get<std::string>());
    if (found == kCodeNames.end())
        Answers::refuse("a code of WMI's failures");
    return static_cast<ErrorCode>(found - kCodeNames.begin());
}

bool isException(const Json& answer)
{
    return answer.is_object() && answer.contains("exception");
}

void throwIfException(const Json& answer)
{
    if (isException(answer))
        throw Exception(codeOf(answer), Answers::read<std::wstring>(answer.at("message")), kSourceFile,
                        L"HardwareInventory::throwIfException", __LINE__);
}

// An answer that came with lines of the log is an object that holds both.
Json withLog(Json answer, const char* key)
{
    Json log = LogLines::take();
    if (log.empty())
        return answer;
    if (!answer.is_object())
        answer = {{key, std::move(answer)}};
    answer["log"] = std::move(log);
    return answer;
}

Json ofException(const Exception& failure)
{
    const auto code = static_cast<std::size_t>(failure.code());
    return withLog({{"exception", kCodeNames.at(code)}, {"message", Answers::write(failure.message())}}, "");
}

const Json kUnreadable = {{"unreadable", true}};

bool is(const Json& value, const char* kind)
{
    return value.is_object() && value.contains(kind);
}

class RecordedObject final : public ManagementObject
{
public:
    explicit RecordedObject(const Json& properties) : properties_(properties) {}

    const void* address() const override { return this; }

    PropertyValue get(const wchar_t* property) const override
    {
        const Json& value = valueOf(property);
        if (is(value, "unreadable"))
            return Unreadable{};
        if (value.is_null())
            return Null{};
        if (value.is_boolean())
            return value.get<bool>();
        if (value.is_number_integer())
            return Answers::read<std::int32_t>(value);
        if (value.is_string() || is(value, "utf16"))
            return Answers::read<std::wstring>(value);
        return OtherType{};
    }

    std::optional<bool> getBool(const wchar_t* property) const override
    {
        const Json& value = valueOf(property);
        if (is(value, "unreadable"))
            return std::nullopt;
        if (!value.is_boolean())
            throw ConversionError();
        return value.get<bool>();
    }

    ZelStdCore::Result<Texts, ArrayFailure> getStringArray(const wchar_t* property) const override
    {
        const Json& value = valueOf(property);
        if (is(value, "unreadable"))
            return ArrayFailure::unreadable;
        if (is(value, "notAttached"))
            return ArrayFailure::notAttached;
        if (value.is_null())
            return Texts();
        if (!value.is_array())
            throw ConversionError();
        return Answers::read<Texts>(value);
    }

private:
    // WMI ignores the case of a property's name.
    const Json& valueOf(const wchar_t* property) const
    {
        const auto lower = [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; };
        const std::string wanted = toUtf8(property);
        for (const auto& [name, value] : properties_.get_ref<const Json::object_t&>())
            if (std::ranges::equal(name, wanted, {}, lower, lower))
            {
                LogLines::repeat(value);
                return value.is_object() && value.contains("value") ? value["value"] : value;
            }
        return kUnreadable;
    }

    const Json& properties_; // of the recording
};

const Json& objectsOf(const Json& answer)
{
    return answer.is_object() ? answer.at("objects") : answer;
}

class RecordedSource final : public ManagementSource
{
public:
    RecordedSource(Recording& recording, const std::wstring& path) : recording_(recording), path_(toUtf8(path)) {}

    void query(const std::wstring& wql, const ObjectCallback& callback) override
    {
        const Json* const answer = recording_.next("query " + path_ + " " + toUtf8(wql));
        if (!answer)
            return;
        if (isException(*answer))
            LogLines::repeat(*answer);
        throwIfException(*answer);
        for (const Json& properties : objectsOf(*answer))
            callback(std::make_shared<RecordedObject>(properties));
        LogLines::repeat(*answer);
    }

    void release() override {}
    void disconnect() override {}

private:
    Recording& recording_;
    std::string path_;
};

// Notes each property when it is read.
class RecordingObject final : public ManagementObject
{
public:
    RecordingObject(ManagementObjectPtr real, std::shared_ptr<Json> objects, std::size_t index)
        : real_(std::move(real)), objects_(std::move(objects)), index_(index)
    {
    }

    const void* address() const override { return real_->address(); }

    PropertyValue get(const wchar_t* property) const override
    {
        LogLines::take();
        PropertyValue value = real_->get(property);
        note(property, std::visit([](const auto& each) { return written(each); }, value));
        return value;
    }

    std::optional<bool> getBool(const wchar_t* property) const override
    {
        return noteRaised(property,
                          [&]
                          {
                              const auto value = real_->getBool(property);
                              note(property, value ? Json(*value) : kUnreadable);
                              return value;
                          });
    }

    ZelStdCore::Result<Texts, ArrayFailure> getStringArray(const wchar_t* property) const override
    {
        return noteRaised(
            property,
            [&]
            {
                auto texts = real_->getStringArray(property);
                if (texts)
                    note(property, Answers::write(texts.value()));
                else
                    note(property, texts.error() == ArrayFailure::unreadable ? kUnreadable : Json{{"notAttached", true}});
                return texts;
            });
    }

private:
    static Json written(const std::wstring& text) { return Answers::write(text); }
    static Json written(std::int32_t number) { return number; }
    static Json written(bool value) { return value; }
    static Json written(Null) { return nullptr; }
    static Json written(Unreadable) { return kUnreadable; }
    static Json written(OtherType) { return {{"other", true}}; }

    void note(const wchar_t* property, Json value) const
    {
        (*objects_)[index_][toUtf8(property)] = withLog(std::move(value), "value");
    }

    template <class Read>
    std::invoke_result_t<Read> noteRaised(const wchar_t* property, Read read) const
    {
        LogLines::take();
        try
        {
            return read();
        }
        catch (...)
        {
            note(property, {{"raises", true}});
            throw;
        }
    }

    ManagementObjectPtr real_;
    std::shared_ptr<Json> objects_; // of the query, written when the recording is
    std::size_t index_;
};

class RecordingSource final : public ManagementSource
{
public:
    RecordingSource(Recording& recording, const std::wstring& path, std::unique_ptr<ManagementSource> real)
        : recording_(recording), path_(toUtf8(path)), real_(std::move(real))
    {
    }

    void query(const std::wstring& wql, const ObjectCallback& callback) override
    {
        const std::string question = "query " + path_ + " " + toUtf8(wql);
        const auto objects = std::make_shared<Json>(Json::array());
        LogLines::take();
        bool leftByCaller = false; // whose exceptions are no answers: the replayed objects raise them again
        try
        {
            real_->query(wql,
                         [&](const ManagementObjectPtr& object)
                         {
                             objects->push_back(Json::object());
                             leftByCaller = true;
                             callback(std::make_shared<RecordingObject>(object, objects, objects->size() - 1));
                             leftByCaller = false;
                             LogLines::take(); // the caller's own lines
                         });
        }
        catch (const Exception& failure)
        {
            recording_.add(question, leftByCaller ? *objects : ofException(failure));
            throw;
        }
        catch (...)
        {
            recording_.add(question, *objects);
            throw;
        }
        recording_.add(question, withLog(*objects, "objects"));
    }

    void release() override { real_->release(); }
    void disconnect() override { real_->disconnect(); }

private:
    Recording& recording_;
    std::string path_;
    std::unique_ptr<ManagementSource> real_;
};
}

OptionalSource recordedSource(Recording& recording, const std::string& connect, const std::wstring& namespacePath)
{
    const Json* const answer = recording.next(connect + toUtf8(namespacePath));
    if (!answer && connect == Questions::kConnectOptional)
        return LastError{kNotFound};
    if (!answer)
        throw Exception(ErrorCode::wmiBind, L"the connection was not recorded", kSourceFile, L"HardwareInventory::recordedSource",
                        __LINE__);
    LogLines::repeat(*answer);
    throwIfException(*answer);
    if (is(*answer, "failed"))
        return Answers::read<LastError>(*answer);
    return std::unique_ptr<ManagementSource>(std::make_unique<RecordedSource>(recording, namespacePath));
}

OptionalSource recordingSource(Recording& recording, const std::string& connect, const std::wstring& namespacePath,
                               const std::function<OptionalSource()>& connectSource)
{
    const std::string question = connect + toUtf8(namespacePath);
    LogLines::take();
    try
    {
        OptionalSource source = connectSource();
        if (!source)
        {
            recording.add(question, withLog(Answers::write(source.error()), ""));
            return source.error();
        }
        recording.add(question, withLog(true, "connected"));
        return std::unique_ptr<ManagementSource>(std::make_unique<RecordingSource>(recording, namespacePath,
                                                                                   std::move(source).value()));
    }
    catch (const Exception& failure)
    {
        recording.add(question, ofException(failure));
        throw;
    }
}

void checkConnection(const Json& answer)
{
    LogLines::check(answer);
    if (isException(answer))
    {
        codeOf(answer);
        Answers::read<std::wstring>(answer.at("message"));
    }
    else if (is(answer, "failed"))
        Answers::read<LastError>(answer);
    else if (answer != true && !is(answer, "connected"))
        Answers::refuse("a connection");
}

void checkObjects(const Json& answer)
{
    if (isException(answer))
        return checkConnection(answer);
    LogLines::check(answer);
    const Json& objects = objectsOf(answer);
    if (!objects.is_array())
        Answers::refuse("objects");
    for (const Json& properties : objects)
    {
        if (!properties.is_object())
            Answers::refuse("an object");
        for (const auto& [name, value] : properties.items())
        {
            LogLines::check(value);
            const Json& plain = is(value, "value") ? value["value"] : value;
            if (plain.is_array())
                Answers::read<Texts>(plain);
            else if (plain.is_number())
                Answers::read<std::int32_t>(plain);
            else if (is(plain, "utf16"))
                Answers::read<std::wstring>(plain);
        }
    }
}
}
