#include "foundation/system/event_loop.h"
#include "watch/app.h"

namespace {

tollmere::Ref<tollmere::Application> MakeApp() { return tollmere::New<tollmere::App>(); }

}  // namespace

int main() { return tollmere::RunApplication(MakeApp, tollmere::ReleaseGlobals); }
