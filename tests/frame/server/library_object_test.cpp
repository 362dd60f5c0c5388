// The library object: arguments, class object, aggregation, log.
#include <gmock/gmock.h>

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
using support::NewLibrary;
using testing::HasSubstr;

// Other methods are checked with the objects that they return.
TEST(LibraryObject, NullArguments) {
    const auto lib = NewLibrary();
    const auto text = Bstr(u"x");
    IMtfPublicationOrderingInfo* ordering = nullptr;
    IOibTDFSearchTask* task = nullptr;
    IOibBDFSearchTask* binTask = nullptr;
    SearchSpec criteria{};
    const HRESULT results[] = {
        lib->FindInOibTDF2(nullptr, &criteria, &task),
        lib->FindInOibTDF2(text.Get(), nullptr, &task),
        lib->FindInOibBDF(nullptr, &binTask),
        lib->LoadPublicationOrderingInfo(nullptr, &ordering),
    };
    EXPECT_THAT(results, testing::Each(E_INVALIDARG));
    EXPECT_EQ(support::TakeError().description, u"");
    EXPECT_TRUE(ordering == nullptr && task == nullptr && binTask == nullptr);
    EXPECT_EQ(lib->ParseOibTDFName(nullptr, nullptr, nullptr), E_NOTIMPL);
}

class LibraryLog : public support::SearchTest {
protected:
    ~LibraryLog() override { frame::ProcessLogger().SetWriter(nullptr); }

    // A log of a success and a failure, without the times at the beginnings of its lines.
    std::string LogOf(VARIANT_BOOL skipSecure) {
        const std::u16string path = m_folder.Path(skipSecure == VARIANT_FALSE ? u"all" : u"skip");
        EXPECT_EQ(m_lib->InitLogging(Bstr(path).Get(), skipSecure), S_OK);
        for (const auto& [list, fails] : {std::pair(u"list", false), std::pair(u"none", true)}) {
            EXPECT_EQ(fails, FAILED(m_lib->GenerateOibTDFs(
                                 Bstr(m_folder.Path(list)).Get(), Bstr(m_folder.Path(u"out")).Get(),
                                 {}, 10, VARIANT_FALSE, 0, 0, Bstr(u"").Get())));
        }
        support::TakeError();
        return std::regex_replace(support::ReadWhole(path), std::regex(R"(\[[\d. :]{19}\])"), "");
    }
};

TEST_F(LibraryLog, IsTheSameWhetherSecureTextIsSkippedOrNot) {
    Write(u"C.dat", support::SmallVolume().Bytes());
    Write(u"list", support::Utf16Bytes(u"\uFEFFVolume.C=C.dat"));
    const std::string log = LogOf(VARIANT_FALSE);
    EXPECT_TRUE(log.starts_with("      Info "));
    for (const std::string outcome : {"Ok.", "Failed."}) {
        EXPECT_THAT(log, HasSubstr("Generating text files from binaries.. " + outcome + "\r\n"));
    }
    EXPECT_EQ(LogOf(VARIANT_TRUE), log);
}

TEST(ClassObject, CreationAndUnloading) {
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
    CComPtr<IOibIdxLib> library = NewLibrary();
    EXPECT_EQ(::DllCanUnloadNow(), S_FALSE);
    library = nullptr;
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
    for (const bool first : {true, false}) {  // an unlock without a lock counts, too
        EXPECT_EQ(factory->LockServer(first), S_OK);
        EXPECT_EQ(::DllCanUnloadNow(), S_FALSE);
        EXPECT_EQ(factory->LockServer(!first), S_OK);
        EXPECT_EQ(::DllCanUnloadNow(), S_OK);
    }
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
