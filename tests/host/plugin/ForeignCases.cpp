#include "ofxCore.h"

extern "C" __attribute__((visibility("default"))) int OfxGetNumberOfPlugins(void) { return 0; }
extern "C" __attribute__((visibility("default"))) OfxPlugin* OfxGetPlugin(int) { return nullptr; }
