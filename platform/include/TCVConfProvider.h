/// @file
/// The TV's configuration provider.
#ifndef TVPLATFORM_TCVCONFPROVIDER_H
#define TVPLATFORM_TCVCONFPROVIDER_H

/// Static settings of the TV. Thread-safe. No function throws.
class TCVConfProvider {
  public:
    /// @return 1 when the TV descrambles one audio PID only
    static int GetDescrambleMode();
};

#endif
