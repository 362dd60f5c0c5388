#include "platform/registry.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "platform/errors.h"

namespace {

using namespace std::literals;
using platform::RegistryKey;
using platform::RegistryValue;
using platform::win32err::kInvalidParameter;

// Test programs run side by side: each has a key of its own.
TEST(Registry, HoldsKeysAndValues) {
    constexpr auto kRoot = platform::ERegistryRoot::CurrentUser;
    const std::string number = std::to_string(std::random_device()());
    const RegistryKey top{
        kRoot, u"Software\\ZorelOibIdxLibTests" + std::u16string(number.begin(), number.end())};
    const RegistryKey key{kRoot, top.path + u"\\Key\\" + std::u16string(255, u'x')};
    const RegistryKey other{kRoot, top.path + u"\\Key !"};
    platform::IRegistry& registry = platform::SystemRegistry();
    EXPECT_EQ(registry.SetValue(key, u"", 7U), 2U);
    EXPECT_EQ(registry.CreateKey(key), 0U);
    EXPECT_EQ(registry.CreateKey(other), 0U);
    const RegistryValue values[] = {u""s, std::u16string(300, u'\u044f'), 0x89ABCDEFU};
    for (const RegistryValue& value : values) {
        RegistryValue unnamed, named;
        EXPECT_EQ(registry.SetValue(key, u"", value), 0U);
        EXPECT_EQ(registry.SetValue(key, u"Name", values[0]), 0U);
        EXPECT_EQ(registry.CreateKey(key), 0U);
        EXPECT_EQ(registry.ReadValue(key, u"", unnamed), 0U);
        EXPECT_EQ(registry.ReadValue(key, u"NAME", named), 0U);
        EXPECT_TRUE(unnamed == value && named == values[0]);
    }
    for (const std::uint32_t code : {0U, 2U}) {
        EXPECT_EQ(registry.DeleteValue(key, u"NAME"), code);
    }
    RegistryValue value;
    EXPECT_EQ(registry.ReadValue(key, u"", value), 0U);
    for (const std::uint32_t code : {0U, 2U}) {
        EXPECT_EQ(registry.DeleteTree({kRoot, top.path + u"\\KEY"}), code);
    }
    std::vector<std::u16string> names;
    EXPECT_EQ(registry.ListSubkeys(top, names), 0U);
    EXPECT_EQ(names, std::vector{u"Key !"s});
    EXPECT_EQ(registry.DeleteTree(top), 0U);
}

TEST(Registry, RefusesPathsThatNameNoKey) {
    platform::IRegistry& registry = platform::SystemRegistry();
    for (const std::u16string& path :
         {u""s, u"\\a"s, u"a\\"s, u"a\\\\b"s, std::u16string(256, u'x'), u"a\0b"s}) {
        const RegistryKey key{platform::ERegistryRoot::CurrentUser, path};
        std::vector<std::u16string> names;
        EXPECT_EQ(registry.CreateKey(key), kInvalidParameter);
        EXPECT_EQ(registry.DeleteTree(key), kInvalidParameter);
        EXPECT_EQ(registry.ListSubkeys(key, names), kInvalidParameter);
    }
}

}  // namespace
