#include "cli/scan/posix/account_owners.h"

#include <pwd.h>

#include <cerrno>
#include <vector>

#include "ZorelText.h"
#include "cli/output/text_format.h"
#include "cli/scan/host_name.h"

namespace zorel::cli {

namespace {

// Empty when the account is not known.
std::string AccountName(uid_t user) {
    std::vector<char> texts(1024);
    passwd account{};
    passwd* found = nullptr;
    while (::getpwuid_r(user, &account, texts.data(), texts.size(), &found) == ERANGE) {
        texts.resize(2 * texts.size());
    }
    return found != nullptr ? found->pw_name : "";
}

}  // namespace

CAccountOwners::CAccountOwners(CDataFileWriter& writer)
    : m_writer(writer), m_domain(UpperCased(ToUtf16(HostName()))) {}

std::uint32_t CAccountOwners::IndexOf(uid_t user) {
    const auto known = m_indices.find(user);
    if (known != m_indices.end()) {
        return known->second;
    }
    rec::COwnerRecord owner;
    owner.OwnerId = ToUtf16("S-1-22-1-" + std::to_string(user));
    owner.OwnerName = ToUtf16(AccountName(user));
    owner.OwnerDomain = m_domain;
    return m_indices[user] = m_writer.AddOwner(std::move(owner));
}

}  // namespace zorel::cli
