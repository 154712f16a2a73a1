// A strict OpenFX host for tests. It gives out handles that it can check, counts what is fetched
// and released, guards the memory of its images, and can fail any of its calls.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "plugins/ofx/OpenFx.h"

namespace lomix::ofx_test {

using namespace lomix::ofx;

using Value = std::variant<int, double, std::string, void*>;

/// A property set. Reading or writing a property that was not declared is refused with status 3.
struct Set {
  std::map<std::string, std::vector<Value>> values;
  std::set<std::string> anyDimension;

  void declare(const std::string& name, std::vector<Value> initial, bool any = false) {
    values[name] = std::move(initial);
    if (any) anyDimension.insert(name);
  }
  template <typename Type>
  Type get(const std::string& name, std::size_t index = 0) const {
    return std::get<Type>(values.at(name).at(index));
  }
  std::vector<std::string> strings(const std::string& name) const;
};

struct Parameter {
  std::string type;
  Set properties;
  double value = 0;  ///< Of choices too.
  std::map<double, double> keys;

  double valueAt(double time) const;
};

/// Memory of an image between guard bytes.
class Plane {
 public:
  /// padding: bytes after each row. shift: bytes that the first pixel is off its alignment.
  Plane(const OfxRectI& bounds, int pixelBytes, bool topDown, int padding, int shift = 0);

  std::uint8_t* at(int x, int y);
  void* data() { return at(bounds_.x1, bounds_.y1); }
  int rowBytes() const { return rowBytes_; }
  const OfxRectI& bounds() const { return bounds_; }
  int pixelBytes() const { return pixelBytes_; }
  bool guardsIntact() const;

 private:
  static constexpr std::uint8_t kGuard = 0xA5;
  OfxRectI bounds_;
  int pixelBytes_;
  int rowBytes_;
  std::size_t first_;  ///< Of the pixel (x1, y1).
  std::vector<std::uint8_t> bytes_;
  std::vector<bool> isPixel_;
};

struct Clip {
  Set properties;
  std::shared_ptr<Plane> plane;  ///< Null: the clip has no image.
  OfxRectI region{};             ///< Of definition, in pixels.
  OfxRectD canonicalRegion{};
  std::map<std::string, Value> image;  ///< Properties of images that differ from the usual ones.
};

/// An effect's descriptor or instance.
struct Effect {
  Set properties;
  std::map<std::string, Parameter> parameters;
  std::vector<std::string> parameterOrder;
  std::map<std::string, Clip> clips;
  std::vector<std::string> clipOrder;
  bool isInstance = false;
};

enum class Threads { Real, None, NullSlots, DoNothing, Fail, FailHalfway };

/// What kind of host it is.
struct Habits {
  Threads threads = Threads::Real;
  unsigned cpus = 4;
  bool old = false;  ///< Version 1.0: newer properties are unknown, and so is the message suite.
  bool concurrent =
      false;             ///< Sends actions on several threads at once: their order is not checked.
  bool plain = false;    ///< Has neither keys nor undo steps: refuses with status 4.
  bool noPages = false;  ///< Refuses parameters of the type page.
  std::string name = "lomix.test.host";
  std::string missingSuite;
  std::set<std::string> missingProperties;  ///< Of any set.
};

class TestHost {
 public:
  explicit TestHost(Habits habits = {});
  ~TestHost();
  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;

  OfxHost* record() { return &record_; }

  /// Sends an action and checks that nothing stays fetched, locked or open.
  OfxStatus send(const char* action, Effect* effect, Set* in = nullptr, Set* out = nullptr);
  /// Loads and describes the plug-in. Returns the first status that is not 0 (14 counts as 0).
  OfxStatus load();
  OfxStatus unload() { return send(action::kUnload, nullptr); }
  const Effect& descriptor() const { return descriptor_; }
  const Effect& context() const { return context_; }

  /// Makes an instance's clips and parameters and sends CreateInstance; null where that fails.
  std::unique_ptr<Effect> create(double framesPerSecond = 24.0);
  OfxStatus destroy(Effect& effect) { return send(action::kDestroyInstance, &effect); }
  /// Sets a parameter as a user does: begin, change, end.
  OfxStatus change(Effect& effect, const std::string& name, double value, double time = 0.0);

  // Arguments of actions.
  static Set renderArguments(double time, const OfxRectI& window, double scaleX, double scaleY,
                             const char* field = "OfxFieldNone");
  OfxStatus render(Effect& effect, double time, const OfxRectI& window, double scaleX = 1.0,
                   double scaleY = 1.0, const char* field = "OfxFieldNone");
  /// Returns the name of the clip that the output is identical to, or an empty one.
  std::string identity(Effect& effect, double time);
  Set preferences(Effect& effect);

  // Faults. Calls of all suites count, fetchSuite() too.
  void failCall(int nth, bool allAfter) {
    calls_ = 0;
    failAt_ = nth;
    failAllAfter_ = allAfter;
  }
  int calls() const { return calls_; }
  /// abort() says so from its nth call on; 0: never.
  void abortAt(int nth) {
    aborts_ = 0;
    abortAt_ = nth;
  }
  int aborts() const { return aborts_; }

  std::vector<std::string> violations;  ///< Rules that the plug-in broke.
  std::vector<std::string> messages;    ///< That it showed.
  std::vector<std::string> edits;       ///< Names of the undo steps.
  int threadsUsed() const { return threadsUsed_; }

 private:
  friend struct SuiteFunctions;
  bool fails();
  bool isNow(const char* action);
  void violate(const std::string& what);
  bool known(const std::string& property) const;
  Effect contextTemplate() const;

  Habits habits_;
  Set properties_;
  OfxHost record_;
  Effect descriptor_;
  Effect context_;
  std::string action_;
  std::recursive_mutex mutex_;
  std::map<Set*, std::unique_ptr<Set>> images_;  ///< Fetched and not released.
  std::atomic<int> calls_ = 0, failAt_ = 0, aborts_ = 0, abortAt_ = 0, threadsUsed_ = 0;
  std::atomic<int> sending_ = 0;
  bool failAllAfter_ = false;
  bool hasUndo_ = true;  ///< Until it refused an undo step.
  int openEdits_ = 0;
};

/// Returns a function that the bundle's binary exports, or null.
void* exported(const char* name);
/// The plug-in's record, from the bundle's binary.
OfxPlugin* loadedPlugin();

}  // namespace lomix::ofx_test
