// Late-bound calls of every object with arbitrary variants. A program that calls through
// IDispatch can pass any number of arguments of any type.
#include <filesystem>

#include "automation/bstr.h"
#include "frame/logging/logger.h"
#include "frame/objects/interface_tables.h"
#include "fuzz.h"
#include "support/index_file_builder.h"
#include "support/tdf_model.h"
#include "variant_input.h"

namespace fuzz {

namespace {

using automation::CVariant;
using automation::EDirection;
using automation::InterfaceTable;
using automation::MethodDesc;
using zorel::client::CComPtr;
using zorel::client::CString;

constexpr std::size_t kMostObjects = 24;
constexpr int kMostCalls = 24;

struct Object {
    CComPtr<IDispatch> pointer;
    const InterfaceTable* table;
};

constexpr std::u16string_view kGenerate = u"GenerateOibTDFs";

std::vector<IDispatch*> PointersOf(const std::vector<Object>& objects) {
    std::vector<IDispatch*> pointers;
    for (const Object& object : objects) {
        pointers.push_back(object.pointer.Get());
    }
    return pointers;
}

// Calls of one input: one object of each class and those that calls return.
class CCalls {
public:
    explicit CCalls(CInput& input) : m_input(input) {
        KeepFoundFiles();
        KeepMetaFiles();
        Keep(&Library());
    }

    void Call() {
        const Object object = m_input.Pick(m_objects);
        const MethodDesc method = PickMethod(*object.table);
        CVariantInput variants(m_input, PointersOf(m_objects));
        std::vector<CVariant> arguments(CountFor(method));
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const bool fits = i < method.paramCount && m_input.Below(8) != 7;
            arguments[i] =
                fits ? variants.FittingArgument(method.params[i]) : variants.AnyArgument();
        }
        KeepInsideTheFolder(method, arguments);
        std::vector<VARIANT> raw;  // owns nothing
        for (std::size_t i = arguments.size(); i-- > 0;) {
            raw.push_back(arguments[i].Get());
        }
        Invoke(object, method, raw);
        for (const CVariant& variable : variants.Variables()) {
            Keep(variable.Get());
        }
    }

private:
    // ----- What is called ---------------------------------------------------------------

    MethodDesc PickMethod(const InterfaceTable& table) {
        const InterfaceTable* part = &table;
        if (part->base != nullptr && m_input.Flag()) {
            part = part->base;
        }
        MethodDesc method = m_input.Pick(part->methods);
        if (m_input.Below(32) == 31) {
            method.id = static_cast<DISPID>(m_input.Number());
            const MethodDesc* const other = automation::FindMethod(table, method.id);
            return other != nullptr ? *other : method;
        }
        return method;
    }
    std::size_t CountFor(const MethodDesc& method) {
        const std::size_t choice = m_input.Below(16);
        const bool hasResult = method.paramCount > 0 &&
                               method.params[method.paramCount - 1].direction == EDirection::Retval;
        return choice < 12 ? method.paramCount - (hasResult ? 1 : 0)
                           : (method.paramCount + choice - 13) % 12;
    }
    // The folder for text data files is the only path to which an empty text adds names.
    static void KeepInsideTheFolder(const MethodDesc& method, std::vector<CVariant>& arguments) {
        if (method.name == kGenerate && arguments.size() > 1) {
            arguments[1] = CVariantInput::TextVariant(u"out");
        }
    }

    void Invoke(const Object& object, const MethodDesc& method, std::vector<VARIANT>& raw) {
        std::vector<DISPID> named(
            method.name == kGenerate ? 0 : m_input.Below(8) / 6 * m_input.Below(4));
        for (DISPID& id : named) {
            id = static_cast<DISPID>(m_input.Below(9)) - 1;
        }
        DISPPARAMS params = {raw.data(), named.data(), static_cast<UINT>(raw.size()),
                             static_cast<UINT>(named.size())};
        constexpr WORD kBoth = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
        constexpr WORD kFlags[] = {kBoth, kBoth,           kBoth,
                                   kBoth, DISPATCH_METHOD, DISPATCH_PROPERTYPUT};
        const WORD flags = m_input.Pick(kFlags);
        const std::size_t without = m_input.Below(16);
        CVariant result;
        EXCEPINFO exception{};
        UINT badArgument = 0;
        const HRESULT hr = object.pointer->Invoke(
            method.id, IID_NULL, 0, flags, without == 1 ? nullptr : &params,
            without == 2 ? nullptr : result.Put(), without == 3 ? nullptr : &exception,
            without == 4 ? nullptr : &badArgument);
        CheckFailure(hr, exception, without == 3);
        Keep(result.Get());
    }

    // Null arguments, and a method that does nothing, are refused without a text.
    static void CheckFailure(HRESULT hr, const EXCEPINFO& exception, bool isNull) {
        const automation::CBstr source(exception.bstrSource), text(exception.bstrDescription),
            help(exception.bstrHelpFile);
        zorel::client::TakeErrorInfo();
        Require(hr != E_UNEXPECTED && exception.scode != E_UNEXPECTED, "a failure has a cause");
        Require(hr != DISP_E_EXCEPTION || isNull || FAILED(exception.scode),
                "a failed call has a result");
        const HRESULT code = exception.scode;
        Require(hr != DISP_E_EXCEPTION || isNull || text || code == E_INVALIDARG ||
                    code == E_POINTER || code == E_NOTIMPL,
                "a failed call states its cause");
    }

    // ----- Objects ------------------------------------------------------------------------

    void KeepFoundFiles() {
        CComPtr<IOibDFBrowser> browser;
        CComPtr<IOibFilesArray> files;
        CComPtr<IOibBDFSearchTask> task;
        CComPtr<IOibTDFSearchTask> texts;
        SearchSpec all{};
        Created(Library().BrowseOibDF(CString(u"v.dat"), browser.Put()), browser);
        Created(browser->GetFilesEx(CString(u"c:"), VARIANT_TRUE, nullptr, files.Put()), files);
        Created(Library().FindInOibBDF(CString(u"."), task.Put()), task);
        RequireSuccess(task->Find(&all), "a volume can be searched");
        Created(Library().FindInOibTDF2(CString(u"t.txt"), &all, texts.Put()), texts);
    }
    void KeepMetaFiles() {
        CComPtr<IMtfMetaFile> file;
        CComPtr<IMtfAttrsTree> tree;
        CComPtr<IMtfBSessionMetaFile> session;
        CComPtr<ICatOibRefsEnumerator> refs;
        CComPtr<IMtfPublicationMetaFileReader> reader;
        CComPtr<IMtfPublicationOrderingInfo> times;
        CComPtr<IMtfAddBSessionCmdAccessor> accessor;
        const CString path(u"m.mtf");
        Created(Library().CreateMetaFile(path, EIdxMetaLoad, file.Put()), file);
        Created(file->GetRootAttrsTree(tree.Put()), tree);
        Created(Library().CreateBSessionMetaFile(CString(u"s.mtf"), EIdxMetaOpenRW, session.Put()),
                session);
        Created(session->EnumOibsRefs(refs.Put()), refs);
        Created(Library().LoadPublication(path, reader.Put()), reader);
        Created(reader->get_OrderingInfo(times.Put()), times);
        Created(reader->get_AddBSessionCmdAccessor(accessor.Put()), accessor);
    }
    template <class Interface>
    void Created(HRESULT result, const CComPtr<Interface>& pointer) {
        RequireSuccess(result, "the objects can be created");
        Keep(pointer.Get());
    }
    void Keep(IDispatch* pointer) {
        for (const InterfaceTable* table : frame::AllInterfaceTables()) {
            CComPtr<IDispatch> found;
            if (m_objects.size() < kMostObjects &&
                SUCCEEDED(pointer->QueryInterface(*table->iid, found.PutVoid()))) {
                m_objects.push_back({found, table});
            }
        }
    }
    void Keep(const VARIANT& value) {
        if (value.vt == VT_DISPATCH && value.pdispVal != nullptr) {
            Keep(value.pdispVal);
        }
    }

    CInput& m_input;
    std::vector<Object> m_objects;
};

// The working folder is that of the files while calls run.
class CWorkingFolder {
public:
    CWorkingFolder() : m_before(std::filesystem::current_path()) {
        std::filesystem::current_path(std::filesystem::path(PathOf(u"")));
    }
    CWorkingFolder(const CWorkingFolder&) = delete;
    CWorkingFolder& operator=(const CWorkingFolder&) = delete;
    ~CWorkingFolder() {
        std::error_code ignored;
        std::filesystem::current_path(m_before, ignored);
    }

private:
    std::filesystem::path m_before;
};

void WriteFiles() {
    ClearFolder();
    WriteFile(u"v.dat", support::SmallVolume().Bytes());
    WriteFile(u"summary.txt", "Volume.C=v.dat");
    WriteFile(u"m.mtf",
              "a.b=1\r\nb=2\r\nPublication.UTCTime=x\r\ncmd.1.Type=AddBSession\r\n"
              "cmd.1.grp.1.OIB.1.VmName=web01\r\ncmd.1.grp.1.BackupFile.1.Path=p");
    WriteFile(u"s.mtf", "oib1.VmName=web01\r\noib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}");
    WriteFile(u"t.txt", support::Utf16Bytes(u"01/15/2013 09:05:07, 1, C:\\a\\web01\r\n"));
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    WriteFiles();
    const CWorkingFolder folder;
    {
        CCalls calls(input);
        for (int i = 0; i < kMostCalls && !input.IsEmpty(); ++i) {
            calls.Call();
        }
    }
    frame::ProcessLogger().SetWriter(nullptr);
}

std::vector<std::string> Seeds() {
    std::vector<std::string> seeds;
    for (std::uint32_t i = 0; i < 60; ++i) {
        // Small choices make more calls that fit.
        seeds.push_back(RandomSeed(i, 400, {}, i % 2 == 0 ? 20 : 256));
    }
    return seeds;
}

}  // namespace fuzz
