#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "ZorelClient.h"
#include "cli/command_line/command_group.h"
#include "cli/meta_files/guid_text.h"
#include "cli/meta_files/meta_file.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

struct OibRef {
    std::u16string vmName;
    std::u16string backupTime;
    GUID id;
};

// A backup-session meta-file opened through the library. Failures are client::CError and
// CCommandError with the path.
class CSession {
public:
    CSession(std::string path, EIdxMetaOpenMode mode) : m_path(std::move(path)) {
        Check(client::CreateLibrary()->CreateBSessionMetaFile(client::CString::FromUtf8(m_path),
                                                              mode, m_session.Put()));
    }

    std::vector<OibRef> References() const {
        client::CComPtr<ICatOibRefsEnumerator> list;
        Check(m_session->EnumOibsRefs(list.Put()));
        INT count = 0;
        Check(list->get_RefsCount(&count));
        std::vector<OibRef> references;
        for (INT i = 0; i < count; ++i) {
            client::CString vmName;
            client::CString backupTime;
            GUID id{};
            Check(list->GetOibRef(i, vmName.Put(), backupTime.Put(), &id));
            references.push_back(
                {std::u16string(vmName.View()), std::u16string(backupTime.View()), id});
        }
        return references;
    }
    void Delete(const GUID& id) { Check(m_session->DeleteOibRef(id)); }
    void Save() {
        CheckSavedSize(m_path, 0);
        Check(m_session->FlushChanges());
    }

private:
    void Check(HRESULT result) const { client::Check(result, m_path); }

    std::string m_path;
    client::CComPtr<IMtfBSessionMetaFile> m_session;
};

// Throws CCommandError for a file without references that holds something else.
void CheckIsSession(const std::string& path) {
    const std::vector<std::u16string> names = CMetaFile(path, EIdxMetaLoad).Names();
    const bool hasReference = std::any_of(names.begin(), names.end(), [](const auto& name) {
        return Folded(name).starts_with(u"oib");
    });
    if (!hasReference && (!names.empty() || HasOtherText(path))) {
        throw CCommandError(path +
                            ": not a backup session; it has no attribute such as oib1.VmName");
    }
}

class CSessionListCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_file, "Backup-session meta-file")->required();
        DeclareJson(app);
        app.footer(
            "Prints identifier, backup time and machine of each reference, the highest group\n"
            "number first. Exit code 1: there is no reference.");
    }

    EExitCode Run(COutput& output) override {
        const std::vector<OibRef> references = CSession(m_file, EIdxMetaLoad).References();
        if (references.empty()) {
            CheckIsSession(m_file);
        }
        std::size_t timeWidth = 0;
        for (const OibRef& reference : references) {
            timeWidth = std::max(timeWidth, DisplayWidth(Printable(reference.backupTime)));
        }
        for (const OibRef& reference : references) {
            if (m_isJson) {
                CJsonObject object;
                object.Add("vmName", reference.vmName).Add("backupTimeUtc", reference.backupTime);
                output.Write(object.Add("uniqueId", GuidText(reference.id)).Line());
            } else {
                output.Write(GuidText(reference.id) + "  " +
                             PadRight(Printable(reference.backupTime), timeWidth) + "  " +
                             Printable(reference.vmName) + "\n");
            }
        }
        return references.empty() ? kExitNothingFound : kExitOk;
    }

private:
    std::string m_file;
};

class CSessionDeleteCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_file, "Backup-session meta-file")->required();
        app.add_option("ID", m_ids, "Identifiers of references, with or without braces")
            ->required();
        DeclareJson(app);
        app.footer(
            "Deletes the group of each identifier, all in one save. Of several groups with the\n"
            "same identifier, it deletes the first in the file. Exit code 1: no reference has\n"
            "one of the identifiers; the file does not change.");
    }

    EExitCode Run(COutput& output) override {
        const std::vector<GUID> ids = Identifiers();
        // Fails for a missing file; the other mode would create it.
        CheckIsSession(m_file);
        CSession session(m_file, EIdxMetaOpenRW);
        std::size_t deleted = 0;
        std::vector<OibRef> references = session.References();
        for (const GUID& id : ids) {
            const auto found =
                std::find_if(references.begin(), references.end(),
                             [&](const OibRef& reference) { return reference.id == id; });
            if (found == references.end()) {
                PrintError(m_file + ": no reference " + GuidText(id));
                continue;
            }
            references.erase(found);
            session.Delete(id);
            ++deleted;
        }
        if (deleted != 0) {
            session.Save();
        }
        if (m_isJson) {
            CJsonObject object;
            object.Add("file", std::string_view(m_file));
            output.Write(object.AddNumber("deleted", static_cast<std::int64_t>(deleted)).Line());
        }
        return deleted != 0 ? kExitOk : kExitNothingFound;
    }

private:
    std::vector<GUID> Identifiers() const {
        std::vector<GUID> ids;
        for (const std::string& text : m_ids) {
            const std::optional<GUID> id = ParseGuid(text);
            // A reference without an identifier has the identifier 0.
            if (!id || *id == GUID_NULL) {
                throw CCommandError(text + ": not an identifier");
            }
            ids.push_back(*id);
        }
        return ids;
    }

    std::string m_file;
    std::vector<std::string> m_ids;
};

}  // namespace

std::unique_ptr<CCommand> MakeSessionCommand() {
    return std::make_unique<CCommandGroup>(std::vector<CCommandGroup::Entry>{
        {"list", "List the references to restore points", MakeCommand<CSessionListCommand>,
         "session list session.mtf"},
        {"delete", "Delete references", MakeCommand<CSessionDeleteCommand>,
         "session delete session.mtf 6f9619ff-8b86-d011-b42d-00cf4fc964ff"},
    });
}

}  // namespace zorel::cli
