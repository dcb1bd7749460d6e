#include "Verbs.h"
namespace tool {
void RunDemo(const DemoOptions &, const Console &) {}
}  // namespace tool
