// Meta-files for tests, written and read without the library's engine, and a fixture that
// opens them through the library object.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "frame/automation_conversions.h"
#include "frame/conversions.h"
#include "frame/errors.h"
#include "support/automation_check.h"
#include "support/temp_folder.h"

namespace support {

inline std::u16string ReplaceAll(std::u16string_view text, std::u16string_view from,
                                 std::u16string_view to) {
    std::u16string out;
    for (std::size_t at = 0; (at = text.find(from)) != text.npos;) {
        out.append(text.substr(0, at)).append(to);
        text.remove_prefix(at + from.size());
    }
    return out.append(text);
}

// One temporary folder with one meta-file, and one library object. At the end of a test
// all objects must have been released. Texts of files and messages have plain line feeds.
class CMetaFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(CreateLibrary(nullptr, IID_IOibIdxLib, m_library.PutVoid()), S_OK);
    }
    void TearDown() override {
        m_library = nullptr;
        EXPECT_EQ(::DllCanUnloadNow(), S_OK) << "an object is still alive";
    }

    std::u16string Path() const { return m_folder.Path(u"x.mtf"); }

    void Write(std::u16string_view lines) const {
        const std::u16string text = u"\xFEFF" + ReplaceAll(lines, u"\n", u"\r\n");
        std::ofstream(m_folder.Native(u"x.mtf"), std::ios::binary)
            .write(reinterpret_cast<const char*>(text.data()),
                   static_cast<std::streamsize>(text.size() * sizeof(char16_t)));
    }
    std::u16string Read() const {
        std::ifstream file(m_folder.Native(u"x.mtf"), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), {});
        std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
        std::memcpy(text.data(), bytes.data(), text.size() * sizeof(char16_t));
        EXPECT_TRUE(text.starts_with(u'\xFEFF'));
        return ReplaceAll(std::u16string_view(text).substr(1), u"\r\n", u"\n");
    }

    automation::CComPtr<IMtfMetaFile> OpenMetaFile(INT mode) const {
        automation::CComPtr<IMtfMetaFile> file;
        EXPECT_EQ(m_library->CreateMetaFile(Bstr(Path()).Get(), mode, file.Put()), S_OK)
            << frame::WideToAnsi(TakeError().description);
        return file;
    }

    // The whole description of a failed call with the meta-file's path as %1, and the rest
    // of what it leaves behind.
    void ExpectFailure(const CallResult& result, EBinding binding, std::u16string_view text,
                       REFIID iid, HRESULT hr = E_FAIL, std::u16string_view source = {}) const {
        EXPECT_EQ(result.hr, hr);
        EXPECT_EQ(ReplaceAll(result.error.description, u"\r\n", u"\n"),
                  frame::FormatText(text, {Path()}));
        EXPECT_EQ(result.error.source, source);
        if (binding == EBinding::Early) {
            EXPECT_TRUE(result.error.guid == iid);
        }
    }

    CTempFolder m_folder;
    automation::CComPtr<IOibIdxLib> m_library;
};

inline constexpr EBinding kBindings[] = {EBinding::Early, EBinding::Late};

// What a call that hands out a string gives; "<null>" for the null string.
template <auto kMethod, class Interface, class... Args>
std::u16string TextFrom(EBinding binding, Interface* object, Args... args) {
    automation::CBstr text;
    const CallResult result = Call<kMethod>(binding, object, args..., text.Put());
    EXPECT_GE(result.hr, 0) << frame::WideToAnsi(result.error.description);
    return text ? std::u16string(automation::TextOf(text.Get())) : u"<null>";
}

// The names that a call hands out, joined by blanks.
template <auto kMethod, class Interface>
std::u16string NamesFrom(EBinding binding, Interface* object) {
    automation::CSafeArrayPtr names;
    EXPECT_EQ(Call<kMethod>(binding, object, names.Put()).hr, S_OK);
    std::u16string joined;
    for (const std::u16string& name : frame::SafeArrayToStringList(names.Get())) {
        joined += joined.empty() ? name : u" " + name;
    }
    return joined;
}

}  // namespace support
