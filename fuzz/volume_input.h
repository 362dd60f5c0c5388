// Valid volumes and search criteria from the choices of an input.
#pragma once

#include "fuzz.h"
#include "support/index_file_builder.h"
#include "support/search_model.h"

namespace fuzz {

// A volume that the text data files can hold: names without line ends and backslashes, folder
// indexes in the table, times of the years 1601 to 9999, owners with different labels.
support::Volume ReadVolume(CInput& input);
// Replaces some rows by others that are not valid.
void SpoilVolume(CInput& input, support::Volume& volume);

support::Criteria ReadCriteria(CInput& input, const support::Volume& volume);

// A search has the result of the model, and its error information has the texts of the model.
void RequireOutcome(HRESULT result, const support::SearchOutcome& expected);

}  // namespace fuzz
