#include "platform/registry.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "support/test_registry.h"

namespace {

using platform::RegistryKey;
using platform::RegistryValue;
using platform::win32err::kFileNotFound;
using platform::win32err::kInvalidParameter;

// What the registry must hold: values by the path of their key, one character an element.
using Model = std::map<std::u16string, std::map<std::u16string, RegistryValue>>;

std::u16string PathOf(const std::u16string& elements, bool upper) {
    std::u16string path;
    for (const char16_t element : elements) {
        path += path.empty() ? u"" : u"\\";
        // Names that are beginnings of each other, and one that sorts before a backslash.
        path += element == u'a' ? u"key" : element == u'b' ? u"key !" : u"key2";
    }
    if (upper) {
        path.replace(0, 1, u"K");
    }
    return path;
}

std::string DumpOf(const Model& model) {
    std::map<std::string, std::string> lines;
    for (const auto& [elements, values] : model) {
        std::string text = zorel::ToUtf8(PathOf(elements, false)) + "\n";
        for (const auto& [name, value] : values) {
            text += zorel::ToUtf8(PathOf(elements, false)) + " : " + zorel::ToUtf8(name) + " = " +
                    (value.index() == 0 ? zorel::ToUtf8(std::get<0>(value))
                                        : std::to_string(std::get<1>(value))) +
                    "\n";
        }
        lines[zorel::ToUtf8(elements)] = text;
    }
    std::string all;
    for (const auto& [elements, text] : lines) {
        all += text;
    }
    return all;
}

TEST(Registry, BehavesLikeThePlainModel) {
    support::CTestRegistry registry;
    Model model;
    std::mt19937 random(20);
    const auto draw = [&](unsigned count) { return static_cast<unsigned>(random()) % count; };
    for (int step = 0; step < 1500; ++step) {
        std::u16string elements;
        for (unsigned depth = 1 + draw(3); depth > 0; --depth) {
            elements += u"abc"[draw(3)];
        }
        const bool exists = model.contains(elements);
        // A key that is there answers to any spelling.
        const RegistryKey key{platform::ERegistryRoot::ClassesRoot,
                              PathOf(elements, exists && draw(4) == 0)};
        const std::u16string name = draw(2) == 0 ? u"" : u"Name";
        std::u16string called = name;
        if (called.size() > 1 && draw(2) == 0) {
            called[1] = u'A';
        }
        switch (draw(5)) {
            case 0:
            case 1: {
                EXPECT_EQ(registry.CreateKey(key), 0U);
                for (std::size_t end = 1; end <= elements.size(); ++end) {
                    model[elements.substr(0, end)];
                }
                break;
            }
            case 2: {
                const RegistryValue value =
                    draw(2) == 0 ? RegistryValue(std::u16string(draw(300), u'\u044f'))
                                 : RegistryValue(static_cast<std::uint32_t>(random()));
                EXPECT_EQ(registry.SetValue(key, called, value), exists ? 0U : kFileNotFound);
                if (exists) {
                    model[elements][name] = value;
                }
                break;
            }
            case 3: {
                const bool had = exists && model[elements].erase(name) > 0;
                EXPECT_EQ(registry.DeleteValue(key, called), had ? 0U : kFileNotFound);
                break;
            }
            default: {
                if (draw(3) != 0) {
                    break;
                }
                EXPECT_EQ(registry.DeleteTree(key), exists ? 0U : kFileNotFound);
                std::erase_if(model,
                              [&](const auto& entry) { return entry.first.starts_with(elements); });
                break;
            }
        }
        ASSERT_EQ(registry.Dump(key.root, {u"", u"Name"}), DumpOf(model)) << step;
    }
}

TEST(Registry, RefusesPathsThatNameNoKey) {
    platform::IRegistry& registry = platform::SystemRegistry();
    const std::u16string longest(255, u'x');
    for (const std::u16string& path :
         {std::u16string(), std::u16string(u"\\"), std::u16string(u"\\a"), std::u16string(u"a\\"),
          std::u16string(u"a\\\\b"), longest + u"x", std::u16string(u"a\0b", 3)}) {
        const RegistryKey key{platform::ERegistryRoot::CurrentUser, path};
        RegistryValue value;
        std::vector<std::u16string> names;
        EXPECT_EQ(registry.CreateKey(key), kInvalidParameter);
        EXPECT_EQ(registry.DeleteTree(key), kInvalidParameter);
        EXPECT_EQ(registry.SetValue(key, u"", value), kInvalidParameter);
        EXPECT_EQ(registry.ReadValue(key, u"", value), kInvalidParameter);
        EXPECT_EQ(registry.DeleteValue(key, u""), kInvalidParameter);
        EXPECT_EQ(registry.ListSubkeys(key, names), kInvalidParameter);
    }
    EXPECT_TRUE(platform::IsRegistryPath(longest + u"\\" + longest));
    support::CTestRegistry testRegistry;
    EXPECT_EQ(testRegistry.CreateKey({platform::ERegistryRoot::Users, longest}), 0U);
}

}  // namespace
