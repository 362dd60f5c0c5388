#include "platform/registry.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "support/memory_registry.h"

namespace {

using namespace std::literals;
using platform::ERegistryRoot;
using platform::RegistryKey;
using platform::RegistryValue;
using platform::win32err::kInvalidParameter;

// Test programs run side by side: each has a key of its own.
const std::u16string& TestKey() {
    static const std::u16string key = [] {
        const std::string number = std::to_string(std::random_device()());
        return u"Software\\ZorelOibIdxLibTests" + std::u16string(number.begin(), number.end());
    }();
    return key;
}

std::u16string RandomPath(std::mt19937& random) {
    // Names that are prefixes of each other, one that sorts before a backslash, both cases.
    constexpr const char16_t* kNames[] = {u"key", u"key !", u"key2", u"KEY", u"Key2"};
    std::u16string path = TestKey();
    for (unsigned depth = 1 + random() % 3; depth > 0; --depth) {
        path += u'\\';
        path += kNames[random() % std::size(kNames)];
    }
    return path;
}

TEST(Registry, AgreesWithARegistryInMemory) {
    platform::IRegistry& registry = platform::SystemRegistry();
    support::CMemoryRegistry model;
    const RegistryKey top{ERegistryRoot::CurrentUser, TestKey()};
    ASSERT_EQ(registry.CreateKey(top), model.CreateKey(top));
    std::mt19937 random(20);
    for (int step = 0; step < 1500; ++step) {
        const RegistryKey key{top.root, RandomPath(random)};
        const std::u16string name = random() % 2 == 0 ? u"" : random() % 2 == 0 ? u"Name" : u"NAME";
        const RegistryValue value = random() % 2 == 0
                                        ? RegistryValue(std::u16string(random() % 300, u'\u044f'))
                                        : RegistryValue(static_cast<std::uint32_t>(random()));
        const auto change = [&, action = random() % 8](platform::IRegistry& target) {
            return action < 3    ? target.CreateKey(key)
                   : action < 6  ? target.SetValue(key, name, value)
                   : action == 6 ? target.DeleteValue(key, name)
                                 : target.DeleteTree(key);
        };
        ASSERT_EQ(change(registry), change(model)) << step;
        ASSERT_EQ(support::DumpRegistry(registry, top, {u"", u"Name"}),
                  support::DumpRegistry(model, top, {u"", u"Name"}))
            << step;
    }
    EXPECT_EQ(registry.DeleteTree(top), 0U);
}

TEST(Registry, RefusesPathsThatNameNoKey) {
    platform::IRegistry& registry = platform::SystemRegistry();
    const std::u16string longest(255, u'x');
    for (const std::u16string& path :
         {u""s, u"\\a"s, u"a\\"s, u"a\\\\b"s, longest + u"x", u"a\0b"s}) {
        const RegistryKey key{ERegistryRoot::CurrentUser, path};
        std::vector<std::u16string> names;
        EXPECT_EQ(registry.CreateKey(key), kInvalidParameter);
        EXPECT_EQ(registry.DeleteTree(key), kInvalidParameter);
        EXPECT_EQ(registry.ListSubkeys(key, names), kInvalidParameter);
    }
    const RegistryKey top{ERegistryRoot::CurrentUser, TestKey()};
    EXPECT_EQ(registry.CreateKey({top.root, top.path + u"\\" + longest}), 0U);
    EXPECT_EQ(registry.DeleteTree(top), 0U);
}

}  // namespace
