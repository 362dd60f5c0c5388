// Arguments of late-bound calls from the choices of an input.
#pragma once

#include <deque>
#include <vector>

#include "automation/interface_table.h"
#include "automation/variant.h"
#include "fuzz.h"

namespace fuzz {

// Owns the variables to which its arguments refer; it must outlive the call.
class CVariantInput {
public:
    // `objects` is not empty; its objects can be arguments.
    CVariantInput(CInput& input, std::vector<IDispatch*> objects)
        : m_input(input), m_objects(std::move(objects)) {}

    // An argument that the parameter accepts, and one of any type.
    automation::CVariant FittingArgument(const automation::ParamDesc& param);
    automation::CVariant AnyArgument();

    const std::deque<automation::CVariant>& Variables() const { return m_variables; }

    static automation::CVariant TextVariant(std::u16string_view text);

private:
    automation::CVariant AnyText();
    automation::CVariant AnyArray();
    automation::CVariant AnyObject();
    automation::CVariant AnyRecord(const automation::RecordDesc& desc);
    automation::CVariant AnyValue();
    automation::CVariant Reference(int type);
    automation::CVariant RecordReference(const automation::RecordDesc& desc);

    CInput& m_input;
    std::vector<IDispatch*> m_objects;
    std::deque<automation::CVariant> m_variables;
};

}  // namespace fuzz
