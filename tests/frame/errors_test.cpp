// Messages, their composition, and the conversion of exceptions at the boundary.
#include "frame/errors.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "frame/objects/boundary.h"
#include "platform/errors.h"
#include "support/automation_check.h"
#include "support/target.h"

namespace {

using frame::CComExc;
using frame::CExc;
using frame::CWin32Exc;

TEST(FormatText, Placeholders) {
    const struct {
        std::u16string_view text;
        frame::TextArgs args;
        std::u16string_view result;
    } rows[] = {
        {u"Value %1 of %2", {u"x"}, u"Value x of %2"},
        {u"%0", {u"a"}, u"%0"},
        {u"50%", {u"a"}, u"50%"},
        {u"%%1", {u"a"}, u"%a"},
        {u"%%", {u"a"}, u"%%"},
        {u"%x %", {}, u"%x %"},
        {u"% 1|%+1|%-1", {u"a"}, u"a|a|%4294967295"},
        {u"%1%2", {u"%2", u"b"}, u"%2b"},
        {u"%12",
         {u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u"10", u"11", u"twelve"},
         u"twelve"},
        {u"%99999999999", {u"a"}, u"%2147483647"},
        {u"[%1]", {u""}, u"[]"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(frame::FormatText(row.text, row.args), row.result)
            << std::string(row.text.begin(), row.text.end());
    }
    EXPECT_EQ(frame::LoadTableString(100), u"ZorelOibIdxLib");
    CExc exc;
    exc.AddMessage(205, {u"a"});
    EXPECT_EQ(exc.GetFullMessage(),
              u"Cannot load a string from the strings table. String ID: 205Arguments: a, %2, %3, "
              u"%4.");
}

TEST(Exceptions, FullMessages) {
    CExc joined(u"c", E_FAIL);
    joined.AddMessage(u"b\r\n\r\n");
    joined.AddMessage(u"a\r\n");
    EXPECT_EQ(joined.GetFullMessage(), u"a\r\nb\r\n\r\nc");
    EXPECT_EQ(CExc().GetFullMessage(), u"");

    platform::SetLastError(5);
    const CWin32Exc last(u"message", CWin32Exc::kLastError);
    EXPECT_EQ(last.GetHResult(), static_cast<HRESULT>(0x80070005));
    EXPECT_EQ(last.GetFullMessage(),
              u"message\r\nWin32 error:" + platform::SystemMessage(5) + u" Code: 5");
    if (support::kOnLinux) {
        EXPECT_EQ(platform::SystemMessage(5), u"Access is denied.\r\n");
    }
    const struct {
        std::uint32_t code;
        HRESULT hr;
        std::u16string_view end;
    } rows[] = {
        {0, 0, u" Code: 0"},
        {0x12345, static_cast<HRESULT>(0x80072345), u" Code: 74565"},
        {0x8007000E, E_OUTOFMEMORY, u" Code: -2147024882"},
        {0xFFFFFFFF, -1, u" Code: -1"},
    };
    for (const auto& row : rows) {
        const CWin32Exc exc(row.code);
        EXPECT_EQ(exc.GetHResult(), row.hr) << row.code;
        EXPECT_TRUE(exc.GetFullMessage().ends_with(row.end)) << row.code;
    }
}

TEST(Exceptions, ComMessageTakesTheErrorInformation) {
    ::SetErrorInfo(0, nullptr);
    EXPECT_EQ(CComExc(E_FAIL).GetFullMessage(), u"COM error:  Code: 0x80004005");
    frame::ReportError({&IID_IOibIdxLib, nullptr}, support::Ole(u"it broke"));
    const CComExc exc(u"Instance of %1", {u"x"}, E_OUTOFMEMORY);
    EXPECT_EQ(exc.GetFullMessage(), u"Instance of x\r\nCOM error: it broke Code: 0x8007000e");
    EXPECT_EQ(CComExc(E_FAIL).GetFullMessage(), u"COM error:  Code: 0x80004005");
}

TEST(Boundary, TurnsExceptionsIntoResults) {
    const frame::CErrorSource source{&IID_IMtfMetaFile, support::Ole(u"A.Source")};
    const struct {
        const char* label;
        HRESULT (*body)();
        HRESULT hr;
        std::u16string_view description;  // empty: no error information
    } rows[] = {
        {"success", [] { return S_FALSE; }, S_FALSE, u""},
        {"plain failure", [] { return E_INVALIDARG; }, E_INVALIDARG, u""},
        {"exception", []() -> HRESULT { throw CExc(u"text", E_NOTIMPL); }, E_NOTIMPL, u"text"},
        {"result 0 stays", []() -> HRESULT { throw CExc(u"text", S_OK); }, S_OK, u"text"},
        {"memory", []() -> HRESULT { throw std::bad_alloc(); }, E_OUTOFMEMORY,
         u"There is not enough memory to finish the call."},
        {"size",
         []() -> HRESULT {
             return static_cast<HRESULT>(std::u16string(static_cast<std::size_t>(-1), u'x').size());
         },
         E_OUTOFMEMORY, u"There is not enough memory to finish the call."},
        {"standard", []() -> HRESULT { throw std::out_of_range("pos"); }, E_FAIL,
         u"Unexpected failure: pos."},
        {"foreign", []() -> HRESULT { throw 7; }, E_FAIL, u"Unexpected failure."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        frame::ReportError(source, support::Ole(u"stale"));
        std::mutex lock;
        EXPECT_EQ(frame::RunAtBoundary(source, &lock, row.body), row.hr);
        EXPECT_TRUE(lock.try_lock());
        lock.unlock();
        const support::ErrorReport report = support::TakeError();
        EXPECT_EQ(report.description, row.description);
        EXPECT_EQ(report.guid, row.description.empty() ? GUID_NULL : IID_IMtfMetaFile);
        EXPECT_EQ(report.source, row.description.empty() ? u"" : u"A.Source");
    }
}

}  // namespace
