#include "interface/network_initializer.h"

#include <new>

namespace {

constexpr std::uint32_t startWasCounted = 0x2;
constexpr std::uint32_t ending = 0x10000;

}  // namespace

NetworkInitializerRAIIImpl::NetworkInitializerRAIIImpl()
    : NetworkingContextInitializerRAII{0, 0x10000, nullptr} {
    Brelt::CharString errorText;
    if (initializeDefault("$$temp", errorText)) {
        return;
    }
    error.push("NetworkInitializerRAIIImpl::NetworkInitializerRAIIImpl", -1, "%s",
               errorText.cstr());
    if (!error) {
        deinitialize((flags & startWasCounted) != 0);
        throw std::bad_alloc();
    }
}

NetworkInitializerRAIIImpl::~NetworkInitializerRAIIImpl() {
    error = Brelt::ErrorChain();
    flags |= ending;
    deinitialize((flags & startWasCounted) != 0);
}
