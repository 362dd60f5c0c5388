// Fixtures with one meta-file, and calls of meta-file objects with plain texts.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>

#include "frame/automation_conversions.h"
#include "frame/conversions.h"
#include "frame/errors.h"
#include "support/automation_check.h"
#include "support/meta_file_bytes.h"
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

// The messages for a malformed identifier, and the result.
inline std::u16string MalformedGuid(std::u16string_view text) {
    const frame::CWin32Exc exc(u"Cannot convert string to GUID. String: [%1].", {text}, 1705);
    return exc.GetFullMessage();
}
inline constexpr HRESULT kMalformedGuid = static_cast<HRESULT>(0x800706A9U);

namespace detail {
// A plain text as a string argument; other arguments stay as they are.
template <class T>
auto Argument(const T& value) {
    if constexpr (std::is_convertible_v<T, std::u16string_view>) {
        return zorel::client::CString(value);
    } else {
        return value;
    }
}

// The type of the last parameter's target.
template <class Interface, class... Params>
auto LastOutput(HRESULT (STDMETHODCALLTYPE Interface::*)(Params...))
    -> std::remove_pointer_t<std::tuple_element_t<sizeof...(Params) - 1, std::tuple<Params...>>>;
}  // namespace detail

// A temporary folder with one meta-file, and a library object. After a test all objects must
// have been released. Texts of files and messages have plain line feeds. Objects are pointers.
class CMetaFileTest : public ::testing::Test {
protected:
    explicit CMetaFileTest(EBinding binding = EBinding::Early) : m_binding(binding) {}
    void TearDown() override {
        m_library = nullptr;
        EXPECT_EQ(::DllCanUnloadNow(), S_OK) << "an object is still alive";
    }

    std::u16string Path() const { return m_folder.Path(u"x.mtf"); }

    void Write(std::u16string_view lines) const {
        ASSERT_TRUE(WriteWhole(Path(), MetaFileBytes(ReplaceAll(lines, u"\n", u"\r\n"))));
    }
    void ExpectContent(std::u16string_view lines) const {
        EXPECT_EQ(ReadWhole(Path()), MetaFileBytes(ReplaceAll(lines, u"\n", u"\r\n")));
    }

    // As Call, with plain texts for string arguments.
    template <auto kMethod, class Object, class... Args>
    CallResult Invoke(const Object& object, const Args&... args) const {
        return Call<kMethod>(m_binding, &*object, detail::Argument(args)...);
    }
    template <auto kMethod, class Object, class... Args>
    void Succeed(const Object& object, const Args&... args) const {
        const CallResult result = Invoke<kMethod>(object, args...);
        EXPECT_EQ(result.hr, S_OK) << frame::WideToAnsi(result.error.description);
    }
    // The last argument of a call that succeeds. An array of names is joined by blanks.
    template <auto kMethod, class Object, class... Args>
    auto Get(const Object& object, const Args&... args) const {
        using Out = decltype(detail::LastOutput(kMethod));
        if constexpr (std::is_same_v<Out, BSTR>) {
            automation::CBstr text;
            Succeed<kMethod>(object, args..., text.Put());
            return text ? WholeText(text.Get()) : u"<null>";
        } else if constexpr (std::is_same_v<Out, SAFEARRAY*>) {
            automation::CSafeArrayPtr names;
            Succeed<kMethod>(object, args..., names.Put());
            std::u16string joined;
            for (const std::u16string& name : frame::SafeArrayToStringList(names.Get())) {
                joined += joined.empty() ? name : u" " + name;
            }
            return joined;
        } else if constexpr (std::is_pointer_v<Out>) {
            automation::CComPtr<std::remove_pointer_t<Out>> out;
            Succeed<kMethod>(object, args..., out.Put());
            return out;
        } else {
            Out out{};
            Succeed<kMethod>(object, args..., &out);
            return out;
        }
    }

    automation::CComPtr<IMtfMetaFile> OpenMetaFile(INT mode) const {
        return Get<&IOibIdxLib::CreateMetaFile>(m_library, Path(), mode);
    }

    // The whole description of a failed call with the meta-file's path as %1, and the other
    // error information.
    void ExpectFailure(const CallResult& result, std::u16string_view text, REFIID iid,
                       HRESULT hr = E_FAIL, std::u16string_view source = {}) const {
        EXPECT_EQ(result.hr, hr);
        EXPECT_EQ(ReplaceAll(result.error.description, u"\r\n", u"\n"),
                  ReplaceAll(frame::FormatText(text, {Path()}), u"\r\n", u"\n"));
        EXPECT_EQ(result.error.source, source);
        EXPECT_TRUE(m_binding == EBinding::Late || result.error.guid == iid);
    }
    // Calls each method with null for each pointer argument in turn.
    template <auto... kMethods, class Object>
    void ExpectRefusesNull(const Object& object) const {
        (RefuseNull<kMethods>(&*object, kMethods), ...);
    }

    EBinding m_binding;
    CTempFolder m_folder;
    automation::CComPtr<IOibIdxLib> m_library = NewLibrary();

private:
    template <auto kMethod, class Object, class Interface, class... Params>
    void RefuseNull(Object* object, HRESULT (STDMETHODCALLTYPE Interface::*)(Params...)) const {
        const bool isPointer[] = {std::is_pointer_v<Params>...};
        const zorel::client::CString text(u"a");
        for (std::size_t null = 0; null < sizeof...(Params); ++null) {
            std::tuple<std::remove_pointer_t<Params>...> outputs{};
            std::size_t i = 0;
            const auto argument = [&]<class T>(std::type_identity<T>, auto& output) {
                const bool isNull = i++ == null;
                if constexpr (!std::is_pointer_v<T>) {
                    return T{9};
                } else if constexpr (std::is_same_v<T, BSTR>) {
                    return isNull ? nullptr : static_cast<BSTR>(text);
                } else {
                    return isNull ? nullptr : &output;
                }
            };
            const auto call = [&](auto&... output) {
                const std::tuple<Params...> args{
                    argument(std::type_identity<Params>(), output)...};  // in this order
                return std::apply(
                    [&](auto... arg) { return Call<kMethod>(m_binding, object, arg...); }, args);
            };
            if (isPointer[null]) {
                const CallResult result = std::apply(call, outputs);
                EXPECT_EQ(result.hr, E_INVALIDARG) << "argument " << null;
                EXPECT_EQ(result.error.description, u"");
                EXPECT_TRUE(outputs == decltype(outputs){});
            }
        }
    }
};

// The same, with early-bound and with late-bound calls.
class CMetaFileBindingTest : public CMetaFileTest, public ::testing::WithParamInterface<EBinding> {
protected:
    CMetaFileBindingTest() : CMetaFileTest(GetParam()) {}
};

}  // namespace support
