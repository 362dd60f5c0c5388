// Messages, their composition, and the conversion of exceptions at the boundary.
#include "frame/errors.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <tuple>

#include "ZorelText.h"
#include "frame/objects/boundary.h"
#include "platform/errors.h"
#include "support/automation_check.h"

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
        // clang-format off
        {u"Value %1 of %2", {u"x"}, u"Value x of %2"},
        {u"%0|50%|%%1|%%|%x %", {u"a"}, u"%0|50%|%a|%%|%x %"},
        {u"% 1|%+1|%-1", {u"a"}, u"a|a|%4294967295"},
        {u"%1%2[%3]", {u"%2", u"b", u""}, u"%2b[]"},
        {u"%12", {u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u"10", u"11", u"twelve"}, u"twelve"},
        {u"%99999999999", {u"a"}, u"%2147483647"},
        // clang-format on
    };
    for (const auto& row : rows) {
        EXPECT_EQ(frame::FormatText(row.text, row.args), row.result);
    }
    EXPECT_EQ(frame::LoadTableString(100), u"ZorelOibIdxLib");
    CExc exc;
    EXPECT_EQ(exc.GetFullMessage(), u"");
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

    platform::SetLastError(5);
    EXPECT_EQ(CWin32Exc(u"message", CWin32Exc::kLastError).GetFullMessage(),
              u"message\r\nWin32 error:" + platform::SystemMessage(5) + u" Code: 5");
    const struct {
        std::uint32_t code, result;
        std::u16string_view end;
    } rows[] = {
        {0, 0, u" Code: 0"},
        {5, 0x80070005, u" Code: 5"},
        {0x12345, 0x80072345, u" Code: 74565"},
        {0x8007000E, 0x8007000E, u" Code: -2147024882"},
        {0xFFFFFFFF, 0xFFFFFFFF, u" Code: -1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CWin32Exc(row.code).GetHResult(), static_cast<HRESULT>(row.result));
        EXPECT_TRUE(CWin32Exc(row.code).GetFullMessage().ends_with(row.end)) << row.code;
    }

    // The message takes the error information of the thread.
    ::SetErrorInfo(0, nullptr);
    EXPECT_EQ(CComExc(E_FAIL).GetFullMessage(), u"COM error:  Code: 0x80004005");
    const frame::CErrorSource source{&IID_IOibIdxLib, nullptr};
    for (const auto& [id, text, hr] : {std::tuple(100U, u"ZorelOibIdxLib", 0x80040064U),
                                       std::tuple(101U, u"Unknown Error", 0x80040065U)}) {
        EXPECT_EQ(frame::ReportError(source, id, 0), static_cast<HRESULT>(hr));
        EXPECT_EQ(frame::ReportError(source, id, E_FAIL), E_FAIL);
        EXPECT_EQ(support::TakeError().description, text);
    }
    EXPECT_EQ(frame::ReportError(source, support::Ole(u"it broke"), 0), DISP_E_EXCEPTION);
    EXPECT_EQ(CComExc(u"Instance of %1", {u"x"}, E_OUTOFMEMORY).GetFullMessage(),
              u"Instance of x\r\nCOM error: it broke Code: 0x8007000e");
    EXPECT_EQ(CComExc(E_FAIL).GetFullMessage(), u"COM error:  Code: 0x80004005");
}

TEST(Boundary, TurnsExceptionsIntoResults) {
    const frame::CErrorSource source{&IID_IMtfMetaFile, support::Ole(u"A.Source")};
    const auto noMemory = u"There is not enough memory to finish the call.";
    const struct {
        std::function<HRESULT()> body;
        HRESULT hr;
        std::u16string_view description;  // empty: no error information
    } rows[] = {
        // clang-format off
        {[] { return S_FALSE; }, S_FALSE, u""},
        {[] { return E_INVALIDARG; }, E_INVALIDARG, u""},
        {[]() -> HRESULT { throw CExc(u"text", E_NOTIMPL); }, E_NOTIMPL, u"text"},
        {[]() -> HRESULT { throw CExc(u"text", S_OK); }, S_OK, u"text"},
        {[]() -> HRESULT { throw std::bad_alloc(); }, E_OUTOFMEMORY, noMemory},
        {[]() -> HRESULT { throw std::length_error("size"); }, E_OUTOFMEMORY, noMemory},
        {[]() -> HRESULT { throw std::out_of_range("pos"); }, E_FAIL, u"Unexpected failure: pos."},
        {[]() -> HRESULT { throw 7; }, E_FAIL, u"Unexpected failure."},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(zorel::ToUtf8(row.description));
        frame::ReportError(source, support::Ole(u"stale"), E_FAIL);
        std::mutex lock;
        EXPECT_EQ(frame::RunAtBoundary(source, &lock, row.body), row.hr);
        EXPECT_TRUE(std::unique_lock(lock, std::try_to_lock).owns_lock());
        const support::ErrorReport report = support::TakeError();
        EXPECT_EQ(report.description, row.description);
        EXPECT_EQ(report.guid, row.description.empty() ? GUID_NULL : IID_IMtfMetaFile);
        EXPECT_EQ(report.source, row.description.empty() ? u"" : u"A.Source");
    }
}

}  // namespace
