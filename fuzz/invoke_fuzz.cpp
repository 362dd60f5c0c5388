// Late-bound calls of every object with arbitrary variants. A program that calls through
// IDispatch can pass any number of arguments of any type.
#include <deque>
#include <filesystem>

#include "automation/bstr.h"
#include "automation/posix/record_info.h"
#include "automation/variant.h"
#include "frame/logging/logger.h"
#include "frame/objects/interface_tables.h"
#include "fuzz.h"
#include "support/index_file_builder.h"
#include "support/tdf_model.h"

namespace fuzz {

namespace {

using automation::CVariant;
using automation::EDirection;
using automation::EValueType;
using automation::InterfaceTable;
using automation::MethodDesc;
using automation::ParamDesc;
using automation::RecordDesc;
using zorel::client::CComPtr;
using zorel::client::CString;

constexpr std::size_t kMostObjects = 24;
constexpr int kMostCalls = 24;

// Names of files in the working folder, which calls can read and replace. No other text can name
// a file outside of it.
constexpr std::u16string_view kTexts[] = {u"summary.txt",
                                          u"v.dat",
                                          u"m.mtf",
                                          u"s.mtf",
                                          u"t.txt",
                                          u".",
                                          u"out",
                                          u"",
                                          u"c:",
                                          u"a.b",
                                          u"b",
                                          u"*",
                                          u"1",
                                          u"web01",
                                          u"CORP",
                                          u"01/15/2013",
                                          u"{9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}"};

struct Object {
    CComPtr<IDispatch> pointer;
    const InterfaceTable* table;
};

// Calls of one input: the objects that calls have returned, and the arguments.
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
        std::vector<CVariant> arguments(CountFor(method));
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const bool fits = i < method.paramCount && m_input.Below(8) != 7;
            arguments[i] = fits ? FittingArgument(method.params[i]) : AnyArgument();
        }
        KeepInsideTheFolder(method, arguments);
        std::vector<VARIANT> raw;  // owns nothing
        for (std::size_t i = arguments.size(); i-- > 0;) {
            raw.push_back(arguments[i].Get());
        }
        Invoke(object, method, raw);
        arguments.clear();
        m_cells.clear();
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
        if (std::u16string_view(method.name) == u"GenerateOibTDFs" && arguments.size() > 1) {
            arguments[1] = TextVariant(u"out");
        }
    }

    void Invoke(const Object& object, const MethodDesc& method, std::vector<VARIANT>& raw) {
        std::vector<DISPID> named(std::u16string_view(method.name) == u"GenerateOibTDFs"
                                      ? 0
                                      : m_input.Below(8) / 6 * m_input.Below(4));
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
        for (CVariant& cell : m_cells) {
            Keep(cell.Get());
        }
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

    // ----- Arguments ----------------------------------------------------------------------

    static CVariant Variant(int type, LONGLONG content = 0) {
        CVariant variant;
        variant.Get().vt = static_cast<VARTYPE>(type);
        variant.Get().llVal = content;
        return variant;
    }
    static CVariant TextVariant(std::u16string_view text) {
        CVariant variant = Variant(VT_BSTR);
        variant.Get().bstrVal = automation::NewBstr(text);
        return variant;
    }
    CVariant AnyText() {
        const std::size_t choice = m_input.Below(std::size(kTexts) + 3);
        return TextVariant(choice < std::size(kTexts)
                               ? std::u16string(kTexts[choice])
                               : m_input.Text(u"aAb1*?-{; =#\r\n\xD800\u00E9", 10));
    }
    CVariant AnyRecord(const RecordDesc& desc) {
        CVariant variant = Variant(VT_RECORD);
        IRecordInfo* const info = automation::detail::NewRecordInfo(desc).Detach();
        variant.Get().pRecInfo = info;
        variant.Get().pvRecord = m_input.Below(16) == 15 ? nullptr : info->RecordCreate();
        for (const automation::FieldDesc& field : desc.fields) {
            if (variant.Get().pvRecord != nullptr && m_input.Below(3) == 1) {
                info->PutField(0, variant.Get().pvRecord, field.name, &AnyValue().Get());
            }
        }
        return variant;
    }
    CVariant AnyArray() {
        SAFEARRAY* const array =
            ::SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(m_input.Below(4)));
        for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i) {
            static_cast<BSTR*>(array->pvData)[i] = AnyText().Detach().bstrVal;
        }
        CVariant variant = Variant(VT_ARRAY | VT_BSTR);
        variant.Get().parray = array;
        return variant;
    }
    CVariant AnyObject() {
        CVariant variant = Variant(m_input.Flag() ? VT_DISPATCH : VT_UNKNOWN);
        if (m_input.Below(4) != 0) {
            variant.Get().pdispVal = CComPtr<IDispatch>(m_input.Pick(m_objects).pointer).Detach();
        }
        return variant;
    }
    CVariant AnyValue() {
        constexpr VARTYPE kNumbers[] = {VT_I4, VT_I1,  VT_UI1,  VT_I2,   VT_UI2, VT_UI4,
                                        VT_I8, VT_UI8, VT_INT,  VT_UINT, VT_CY,  VT_ERROR,
                                        VT_R4, VT_R8,  VT_DATE, VT_BOOL};
        switch (m_input.Below(16)) {
            case 0:
                return Variant(VT_ERROR, DISP_E_PARAMNOTFOUND);
            case 1:
                return AnyObject();
            case 2:
                return AnyArray();
            case 3:
                return AnyRecord(*m_input.Pick(frame::AllRecordDescs()));
            case 4:  // a null value of any type, also of none
                return Variant(static_cast<int>(m_input.Below(40) | m_input.Below(8) << 13));
            case 5: {
                CVariant real = Variant(VT_R8);
                real.Get().dblVal = static_cast<double>(m_input.Number()) / 64;
                return real;
            }
            case 6:
            case 7:
            case 8:
                return AnyText();
            default: {
                const VARTYPE type = m_input.Pick(kNumbers);
                return Variant(type, m_input.Number());
            }
        }
    }
    // A reference to a variable of the type, whose content is null.
    CVariant Reference(int type) {
        if (m_input.Below(16) == 15) {
            return Variant(VT_BYREF | type);
        }
        CVariant& cell = m_cells.emplace_back(Variant(type == VT_VARIANT ? VT_EMPTY : type));
        CVariant variant = Variant(VT_BYREF | type);
        variant.Get().byref = type == VT_VARIANT ? static_cast<void*>(&cell.Get())
                                                 : static_cast<void*>(&cell.Get().llVal);
        return variant;
    }
    CVariant RecordReference(const RecordDesc& desc) {
        CVariant& cell = m_cells.emplace_back(AnyRecord(desc));
        CVariant variant = Variant(VT_BYREF | VT_RECORD);
        variant.Get().pvRecord = cell.Get().pvRecord;
        variant.Get().pRecInfo = cell.Get().pRecInfo;
        return variant;
    }
    CVariant AnyArgument() {
        CVariant value = AnyValue();
        if (m_input.Below(3) != 2) {
            return value;
        }
        if (value.Get().vt == VT_RECORD || m_input.Flag()) {
            CVariant& cell = m_cells.emplace_back(std::move(value));
            CVariant variant = Variant(VT_BYREF | VT_VARIANT);
            variant.Get().pvarVal = &cell.Get();
            return variant;
        }
        return Reference(value.Get().vt & ~VT_BYREF);
    }
    CVariant FittingArgument(const ParamDesc& param) {
        const bool isInput = param.pointers == 0 || param.direction == EDirection::In;
        if (param.type == EValueType::Record) {
            return isInput          ? AnyRecord(*param.record)
                   : m_input.Flag() ? RecordReference(*param.record)
                                    : Reference(VT_VARIANT);
        }
        if (!isInput) {
            const bool isTyped = param.type != EValueType::Guid && m_input.Flag();
            return Reference(isTyped ? automation::VariantTypeOf(param.type) : VARTYPE{VT_VARIANT});
        }
        if (param.type == EValueType::String || param.type == EValueType::Guid) {
            return AnyText();
        }
        return Variant(VT_I4, static_cast<INT>(m_input.Number()));
    }

    CInput& m_input;
    std::vector<Object> m_objects;
    std::deque<CVariant> m_cells;  // the variables that arguments refer to
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
