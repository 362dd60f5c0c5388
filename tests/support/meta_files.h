// A fixture with one meta-file, and calls of meta-file objects with plain texts.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>

#include "frame/automation_conversions.h"
#include "frame/conversions.h"
#include "frame/errors.h"
#include "support/automation_check.h"
#include "support/meta_file_model.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace support {

inline constexpr EBinding kBindings[] = {EBinding::Early, EBinding::Late};

inline std::u16string ReplaceAll(std::u16string_view text, std::u16string_view from,
                                 std::u16string_view to) {
    std::u16string out;
    for (std::size_t at = 0; (at = text.find(from)) != text.npos;) {
        out.append(text.substr(0, at)).append(to);
        text.remove_prefix(at + from.size());
    }
    return out.append(text);
}

namespace detail {
inline automation::CBstr Hold(const char16_t* text) {
    return Bstr(text);
}
template <class T>
T Hold(T value) {
    return value;
}
inline BSTR Raw(const automation::CBstr& text) {
    return text.Get();
}
template <class T>
T Raw(T value) {
    return value;
}
}  // namespace detail

// As Call, with literals for string arguments.
template <auto kMethod, class Interface, class... Args>
CallResult Invoke(EBinding binding, Interface* object, Args... args) {
    return Call<kMethod>(binding, object, detail::Raw(detail::Hold(args))...);
}

template <auto kMethod, class Interface, class... Args>
void Succeed(EBinding binding, Interface* object, Args... args) {
    const CallResult result = Invoke<kMethod>(binding, object, args...);
    EXPECT_EQ(result.hr, S_OK) << frame::WideToAnsi(result.error.description);
}

// The last argument of a call that succeeds: a value, or the holder of one.
template <class Out, auto kMethod, class Interface, class... Args>
Out Get(EBinding binding, Interface* object, Args... args) {
    Out out{};
    if constexpr (requires { out.Put(); }) {
        Succeed<kMethod>(binding, object, args..., out.Put());
    } else {
        Succeed<kMethod>(binding, object, args..., &out);
    }
    return out;
}

template <auto kMethod, class Interface, class... Args>
std::u16string TextFrom(EBinding binding, Interface* object, Args... args) {
    const auto text = Get<automation::CBstr, kMethod>(binding, object, args...);
    return text ? WholeText(text.Get()) : u"<null>";
}

// Names joined by blanks.
template <auto kMethod, class Interface>
std::u16string NamesFrom(EBinding binding, Interface* object) {
    const auto names = Get<automation::CSafeArrayPtr, kMethod>(binding, object);
    std::u16string joined;
    for (const std::u16string& name : frame::SafeArrayToStringList(names.Get())) {
        joined += joined.empty() ? name : u" " + name;
    }
    return joined;
}

// Calls each method with null for each pointer argument in turn.
template <auto... kMethods, class Interface, class... Args>
void ExpectRefusesNull(Interface* object, Args... args) {
    for (std::size_t null = 0; null < sizeof...(Args); ++null) {
        std::size_t i = 0;
        const std::tuple<Args...> list{[&](Args arg) {
            if constexpr (std::is_pointer_v<Args>) {
                return i++ == null ? nullptr : arg;
            } else {
                return ++i, arg;
            }
        }(args)...};
        const bool isPointer[] = {std::is_pointer_v<Args>...};
        const auto check = [&](const CallResult& result) {
            EXPECT_EQ(result.hr, E_INVALIDARG) << "argument " << null;
            EXPECT_EQ(result.error.description, u"");
        };
        for (const EBinding binding : kBindings) {
            const auto callAll = [&](auto... nulled) {
                (check(Call<kMethods>(binding, object, nulled...)), ...);
            };
            isPointer[null] ? std::apply(callAll, list) : void();
        }
    }
}

// A temporary folder with one meta-file, and a library object. After a test all objects must
// have been released. Texts of files and messages have plain line feeds.
class CMetaFileTest : public ::testing::Test {
protected:
    void TearDown() override {
        m_library = nullptr;
        EXPECT_EQ(::DllCanUnloadNow(), S_OK) << "an object is still alive";
    }

    std::u16string Path() const { return m_folder.Path(u"x.mtf"); }

    void Write(std::u16string_view lines) const {
        const auto content = ReplaceAll(lines, u"\n", u"\r\n");
        ASSERT_TRUE(WriteWhole(Path(), MetaFileBytes(content)));
    }
    void ExpectContent(std::u16string_view lines) const {
        const auto content = ReplaceAll(lines, u"\n", u"\r\n");
        EXPECT_EQ(ReadWhole(Path()), MetaFileBytes(content));
    }

    automation::CComPtr<IMtfMetaFile> OpenMetaFile(EBinding binding, INT mode) const {
        return Get<automation::CComPtr<IMtfMetaFile>, &IOibIdxLib::CreateMetaFile>(
            binding, m_library.Get(), Path().c_str(), mode);
    }

    // The whole description of a failed call with the meta-file's path as %1, and the other
    // error information.
    void ExpectFailure(const CallResult& result, EBinding binding, std::u16string_view text,
                       REFIID iid, HRESULT hr = E_FAIL, std::u16string_view source = {}) const {
        EXPECT_EQ(result.hr, hr);
        EXPECT_EQ(ReplaceAll(result.error.description, u"\r\n", u"\n"),
                  frame::FormatText(text, {Path()}));
        EXPECT_EQ(result.error.source, source);
        EXPECT_TRUE(binding == EBinding::Late || result.error.guid == iid);
    }

    CTempFolder m_folder;
    automation::CComPtr<IOibIdxLib> m_library = NewLibrary();
};

}  // namespace support
