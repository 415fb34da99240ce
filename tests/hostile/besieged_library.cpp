#include "hostile/besieged_library.h"

#include <string>

namespace TestSupport {

SampleLibrary besiegedLibrary() {
    SampleLibrary library;
    library.add("f1.tx", std::string(3'000, '1'))
        .add("f2.tx", std::string(40'000, '2'))
        .add("wood/f3.tx", std::string(2'000, '3'))
        .addLossy("wood/oak/f4.tx", "full", std::string(2'000, '4'))
        .add("f5.tx", std::string(2'000, '5'))
        .add("f6.tx", "", "always")
        .add("f7.tx", "7", "missing");
    return library;
}

Tree allowed(const SampleLibrary& library, const Tree& actual) {
    Tree tree = library.expected();
    for (const SampleFile& file : library.files) {
        const auto found = actual.find(file.path);
        if (file.rule == "missing" && found != actual.end()) {
            tree[file.path] = found->second;
        }
    }
    return tree;
}

}  // namespace TestSupport
