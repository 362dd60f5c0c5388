// The library object: arguments, class object, aggregation, matching.
#include <gtest/gtest.h>

#include <regex>

#include "automation/com_ptr.h"
#include "frame/logging/logger.h"
#include "frame/objects/module.h"
#include "frame/server/class_factory.h"
#include "support/automation_check.h"
#include "support/index_file_builder.h"
#include "support/search_client.h"
#include "support/tdf_model.h"

namespace {

using automation::CComPtr;
using support::Bstr;
using support::CreateLibrary;
using support::EBinding;
using support::NewLibrary;

// A method returns at once for a null argument that it checks: no error information, no
// output.
TEST(LibraryObject, NullArguments) {
    const auto lib = NewLibrary();
    const auto text = Bstr(u"x");
    BSTR x = text.Get();
    IMtfMetaFile* metaFile = nullptr;
    IMtfBSessionMetaFile* session = nullptr;
    IMtfPublicationMetaFileReader* reader = nullptr;
    IMtfPublicationOrderingInfo* ordering = nullptr;
    IOibTDFSearchTask* task = nullptr;
    IOibBDFSearchTask* binTask = nullptr;
    IOibDFBrowser* browser = nullptr;
    VARIANT_BOOL flag = 7;
    SearchSpec criteria{};
    const struct {
        const char* label;
        HRESULT hr;
    } rows[] = {
        {"InitLogging", lib->InitLogging(nullptr, VARIANT_TRUE)},
        {"CreateMetaFile path", lib->CreateMetaFile(nullptr, 0, &metaFile)},
        {"CreateMetaFile out", lib->CreateMetaFile(x, 0, nullptr)},
        {"IsMetaFileExists path", lib->IsMetaFileExists(nullptr, &flag)},
        {"IsMetaFileExists out", lib->IsMetaFileExists(x, nullptr)},
        {"FindInOibTDF2 file", lib->FindInOibTDF2(nullptr, &criteria, &task)},
        {"FindInOibTDF2 criteria", lib->FindInOibTDF2(x, nullptr, &task)},
        {"BrowseOibDF path", lib->BrowseOibDF(nullptr, &browser)},
        {"BrowseOibDF out", lib->BrowseOibDF(x, nullptr)},
        {"IsWildcardMatch line", lib->IsWildcardMatch(nullptr, x, &flag)},
        {"IsWildcardMatch pattern", lib->IsWildcardMatch(x, nullptr, &flag)},
        {"IsWildcardMatch out", lib->IsWildcardMatch(x, x, nullptr)},
        {"FindInOibBDF path", lib->FindInOibBDF(nullptr, &binTask)},
        {"CreateBSessionMetaFile path", lib->CreateBSessionMetaFile(nullptr, 0, &session)},
        {"CreateBSessionMetaFile out", lib->CreateBSessionMetaFile(x, 0, nullptr)},
        {"LoadPublicationOrderingInfo path", lib->LoadPublicationOrderingInfo(nullptr, &ordering)},
        {"LoadPublication path", lib->LoadPublication(nullptr, &reader)},
        {"LoadPublication out", lib->LoadPublication(x, nullptr)},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.hr, E_INVALIDARG) << row.label;
    }
    EXPECT_EQ(support::TakeError().description, u"");
    EXPECT_EQ(flag, 7);
    EXPECT_TRUE(metaFile == nullptr && session == nullptr && reader == nullptr &&
                ordering == nullptr && task == nullptr && binTask == nullptr && browser == nullptr);
    EXPECT_EQ(lib->ParseOibTDFName(nullptr, nullptr, nullptr), E_NOTIMPL);
}

TEST(LibraryObject, WildcardMatches) {
    const struct {
        const char16_t* line;
        const char16_t* pattern;
        VARIANT_BOOL match;
    } rows[] = {
        {u"C:\\dir\\a.txt", u"*.TXT", VARIANT_TRUE}, {u"C:\\dir\\", u"a", VARIANT_FALSE},
        {u"C:\\dir\\", u"", VARIANT_TRUE},           {u"C:\\txt\\a.doc", u"*txt*", VARIANT_FALSE},
        {u"C:\\ab", u"ab*b", VARIANT_TRUE},
    };
    const auto lib = NewLibrary();
    for (const EBinding binding : {EBinding::Early, EBinding::Late}) {
        for (const auto& row : rows) {
            VARIANT_BOOL match = 7;
            const auto result = support::Call<&IOibIdxLib::IsWildcardMatch>(
                binding, lib.Get(), Bstr(row.line).Get(), Bstr(row.pattern).Get(), &match);
            EXPECT_EQ(result.hr, S_OK);
            EXPECT_EQ(match, row.match) << support::NameOf(binding);
        }
        VARIANT_BOOL match = 7;
        const auto result = support::Call<&IOibIdxLib::IsWildcardMatch>(
            binding, lib.Get(), Bstr(u"a.txt").Get(), Bstr(u"*").Get(), &match);
        EXPECT_EQ(result.hr, E_FAIL);
        EXPECT_NE(result.error.description, u"");
        EXPECT_EQ(result.error.source, u"ZorelOibIdxLib.COibIdxLib.5");
    }
}

class LibraryLog : public support::SearchTest {
protected:
    ~LibraryLog() override { frame::ProcessLogger().SetWriter(nullptr); }

    HRESULT Generate(const char16_t* list) {
        return m_lib->GenerateOibTDFs(Bstr(m_folder.Path(list)).Get(),
                                      Bstr(m_folder.Path(u"out")).Get(), {}, 10, VARIANT_FALSE, 0,
                                      0, Bstr(u"").Get());
    }
    // A log of a success and a failure, without the times at the beginnings of its lines.
    std::string LogOf(VARIANT_BOOL skipSecure) {
        const std::u16string path = m_folder.Path(skipSecure == VARIANT_FALSE ? u"all" : u"skip");
        EXPECT_EQ(m_lib->InitLogging(Bstr(path).Get(), skipSecure), S_OK);
        EXPECT_EQ(Generate(u"list"), S_OK);
        EXPECT_TRUE(FAILED(Generate(u"none")));
        support::TakeError();
        return std::regex_replace(support::ReadWhole(path), std::regex(R"(\[[\d. :]{19}\])"), "");
    }
};

TEST_F(LibraryLog, IsTheSameWhetherSecureTextIsSkippedOrNot) {
    Write(u"C.dat", support::SmallVolume().Bytes());
    Write(u"list", support::Utf16Bytes(u"\uFEFFVolume.C=C.dat"));
    const std::string log = LogOf(VARIANT_FALSE);
    EXPECT_TRUE(log.starts_with("      Info ")) << log;
    for (const char* outcome : {"Ok", "Failed"}) {
        const std::string line = std::string("Generating text files from binaries.. ") + outcome;
        EXPECT_NE(log.find(line + ".\r\n"), std::string::npos) << log;
    }
    EXPECT_EQ(LogOf(VARIANT_TRUE), log);
}

TEST(ClassObject, CreationAndUnloading) {
    ASSERT_EQ(::DllCanUnloadNow(), S_OK);
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(::DllGetClassObject(IID_IOibIdxLib, IID_IClassFactory, factory.PutVoid()),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(::DllGetClassObject(CLSID_COibIdxLib, IID_IDispatch, factory.PutVoid()),
              E_NOINTERFACE);
    EXPECT_EQ(::DllGetClassObject(CLSID_COibIdxLib, IID_IClassFactory, nullptr), E_POINTER);
    ASSERT_EQ(::DllGetClassObject(CLSID_COibIdxLib, IID_IClassFactory, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IOibIdxLib, nullptr), E_POINTER);
    void* object = &object;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IEnumString, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
    {
        CComPtr<IOibIdxLib> library;
        ASSERT_EQ(factory->CreateInstance(nullptr, IID_IOibIdxLib, library.PutVoid()), S_OK);
        EXPECT_EQ(::DllCanUnloadNow(), S_FALSE);
        CComPtr<ISupportErrorInfo> support;
        ASSERT_EQ(library->QueryInterface(IID_ISupportErrorInfo, support.PutVoid()), S_OK);
        EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IOibIdxLib), S_OK);
        EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
    }
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);  // nothing to unlock
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(::DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
}

// An outer object that adds one interface of its own to those of its inner object.
class COuter final : public IUnknown {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid == IID_IUnknown || iid == IID_IEnumString) {
            *object = static_cast<IUnknown*>(this);
            AddRef();
            return S_OK;
        }
        return inner->QueryInterface(iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

    CComPtr<IUnknown> inner;
    ULONG references = 1;
};

TEST(ClassObject, Aggregation) {
    COuter outer;
    void* object = &object;
    EXPECT_EQ(CreateLibrary(&outer, IID_IOibIdxLib, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    ASSERT_EQ(CreateLibrary(&outer, IID_IUnknown, outer.inner.PutVoid()), S_OK);
    EXPECT_EQ(outer.references, 1U);
    {
        CComPtr<IOibIdxLib> library;
        ASSERT_EQ(outer.QueryInterface(IID_IOibIdxLib, library.PutVoid()), S_OK);
        EXPECT_EQ(outer.references, 2U);
        CComPtr<IUnknown> identity;
        ASSERT_EQ(library->QueryInterface(IID_IUnknown, identity.PutVoid()), S_OK);
        EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(&outer));
        CComPtr<IUnknown> own;
        EXPECT_EQ(library->QueryInterface(IID_IEnumString, own.PutVoid()), S_OK);
        EXPECT_EQ(::DllCanUnloadNow(), S_FALSE);
    }
    EXPECT_EQ(outer.references, 1U);
    outer.inner = nullptr;
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
}

}  // namespace
