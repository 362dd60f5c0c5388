#include "cli/command_line/faulty_volume.h"

#include <exception>

#include "cli/catalogue/catalogue.h"
#include "cli/catalogue/volume_view.h"
#include "cli/command_line/paths.h"

namespace zorel::cli {

namespace {

// A search that reads everything and finds nothing.
void TrySearch(const CCatalogue::Volume& volume) {
    const CVolumeView view({volume});
    client::CComPtr<IOibBDFSearchTask> task;
    const client::CString folder(AbsolutePath(view.Folder()));
    client::Check(client::CreateLibrary()->FindInOibBDF(folder, task.Put()), volume.dataFile);
    SearchSpec criteria{};
    criteria.UseSizeLimits = VARIANT_TRUE;
    criteria.SizeFrom = 1;
    criteria.SizeTill = 0;
    client::Check(task->Find(&criteria), volume.dataFile);
}

}  // namespace

std::optional<client::CError> FindFaultyVolume(const std::string& path) {
    try {
        const CCatalogue catalogue(path);
        if (catalogue.VolumeList().empty()) {
            return std::nullopt;
        }
        for (const CCatalogue::Volume& volume : catalogue.Volumes()) {
            TrySearch(volume);
        }
    } catch (const client::CError& error) {
        return error.Subject() == path ? std::nullopt : std::optional(error);
    } catch (const std::exception&) {
        // Not a catalogue, or there is no room for a list of one volume.
    }
    return std::nullopt;
}

}  // namespace zorel::cli
