#include <TCVConfProvider.h>

#include <atomic>

#include "TvDesktop.h"

namespace tvdesktop {

namespace {

std::atomic<int> g_descrambleMode{0};

}  // namespace

void SetDescrambleMode(int mode) {
    g_descrambleMode = mode;
}

}  // namespace tvdesktop

int TCVConfProvider::GetDescrambleMode() {
    return tvdesktop::g_descrambleMode;
}
