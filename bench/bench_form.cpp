// Creation to "loaded" of the payment form (provider 3, the form service page) against a bare
// WebKitWebView loading the same page, served by the stand-in provider pages on loopback.
//
// Every measurement runs in a fresh process, so that "cold" is the first web view of a process
// (web and network processes started) and "again" is a second one created after the first is
// gone, in the same process. A third kind of process warms the engine up first
// (`QPPaymentForm::warmUp`, waiting until it is ready) and then measures its first form
// ("warmed") and a second one the same way. The rounds go through every order of the three. The
// program also writes down the memory of the process tree (proportional set size of the
// measuring process and every process below it: the web engine's auxiliary processes) once the
// first page has loaded, and for the warmed kind also before its first form.
//
//   xvfb-run -a build/bin/bench_form [--rounds N]
#include <gtk/gtk.h>
#include <httplib.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtkmm/init.h>
#include <gtkmm/window.h>

#include "BenchRounds.h"
#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/QPPaymentForm.h"
#include "sandbox/SandboxState.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
const std::vector<std::string> kOptions{"VISA", "MSTRCRD"};
constexpr const char* kToken = "bench-form-1";

gboolean markTimedOut(gpointer flag) {
  *static_cast<bool*>(flag) = true;
  return G_SOURCE_REMOVE;
}

// Runs the main context until `done` holds or `seconds` pass; whether `done` held.
bool pumpUntil(const std::function<bool()>& done, double seconds) {
  bool timedOut = false;
  guint timer = g_timeout_add(static_cast<guint>(seconds * 1000), markTimedOut, &timedOut);
  while (!done() && !timedOut) g_main_context_iteration(nullptr, TRUE);
  if (!timedOut) g_source_remove(timer);
  return done();
}

// --- Memory of the process tree ---------------------------------------------------------------

std::map<int, int> parents() {
  std::map<int, int> parentOf;
  GDir* dir = g_dir_open("/proc", 0, nullptr);
  if (dir == nullptr) return parentOf;
  while (const char* name = g_dir_read_name(dir)) {
    int pid = std::atoi(name);
    if (pid <= 0) continue;
    std::ifstream stat(std::string("/proc/") + name + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    std::size_t close = text.rfind(')');
    if (close == std::string::npos) continue;
    std::istringstream rest(text.substr(close + 2));
    std::string state;
    int parent = 0;
    rest >> state >> parent;
    parentOf[pid] = parent;
  }
  g_dir_close(dir);
  return parentOf;
}

double pssKiB(int pid) {
  std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
  std::string key;
  while (rollup >> key) {
    if (key == "Pss:") {
      double kib = 0;
      rollup >> kib;
      return kib;
    }
    rollup.ignore(1 << 16, '\n');
  }
  return 0;
}

// PSS of this process and all below it, in MiB, and how many processes that is.
std::pair<double, int> treeMiB() {
  std::map<int, int> parentOf = parents();
  std::vector<int> tree{getpid()};
  for (std::size_t i = 0; i < tree.size(); ++i)
    for (const auto& [pid, parent] : parentOf)
      if (parent == tree[i]) tree.push_back(pid);
  double kib = 0;
  for (int pid : tree) kib += pssKiB(pid);
  return {kib / 1024.0, static_cast<int>(tree.size())};
}

// --- One process: the form or the bare view, twice --------------------------------------------

double formOnce(Gtk::Window& window, const std::string& base) {
  bool loaded = false;
  auto start = Clock::now();
  auto form = std::make_unique<brivane::QPPaymentForm>();
  form->setDeployment(brivane::QPFormDeployment::forBaseURL(base));
  form->setApiURL(base + "/providers/formservice");
  form->setRedirectURL(base + "/providers/return");
  form->setPaymentProvider(brivane::QPPaymentProviderCyberSource);
  form->setMode(brivane::QPPaymentFormModePayment);
  form->setOnFormLoaded([&loaded] { loaded = true; });
  window.set_child(*form);
  form->renderWithPaymentOptions(kOptions, kToken, nullptr);
  bool ok = pumpUntil([&loaded] { return loaded; }, 60);
  double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  window.unset_child();
  form.reset();
  return ok ? ms : -1;
}

void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer finished) {
  if (event == WEBKIT_LOAD_FINISHED) *static_cast<bool*>(finished) = true;
}

double bareOnce(Gtk::Window& window, const std::string& base) {
  brivane::QPFormConfiguration configuration;
  configuration.mode = brivane::QPPaymentFormModePayment;
  configuration.paymentProvider = brivane::QPPaymentProviderCyberSource;
  configuration.redirectURL = base + "/providers/return";
  configuration.apiURL = brivane::QPFormRenderer::normalizedApiURL(base + "/providers/formservice");
  brivane::QPRenderedForm page = brivane::QPFormRenderer::render(configuration, kOptions, kToken, nullptr,
                                                                 brivane::QPFormDeployment::forBaseURL(base),
                                                                 brivane::QPRenderEnvironment::current());
  bool finished = false;
  auto start = Clock::now();
  GtkWidget* view = webkit_web_view_new();
  g_signal_connect(view, "load-changed", G_CALLBACK(onLoadChanged), &finished);
  gtk_window_set_child(window.gobj(), view);
  webkit_web_view_load_html(WEBKIT_WEB_VIEW(view), page.html.c_str(), page.url.c_str());
  bool ok = pumpUntil([&finished] { return finished; }, 60);
  double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  g_signal_handlers_disconnect_by_data(view, &finished);
  gtk_window_set_child(window.gobj(), nullptr);
  return ok ? ms : -1;
}

// Prints "first again MiB processes warm-up-MiB before-MiB": the last two, the tree warmed up and
// before the warm-up, are 0 but for the warmed kind.
int child(const std::string& kind, const std::string& base) {
  gtk_init();
  Gtk::init_gtkmm_internals();
  auto window = std::make_unique<Gtk::Window>();
  window->set_default_size(400, 600);
  window->present();
  pumpUntil([] { return false; }, 0.2);  // the window is mapped before anything is timed
  double warmUpMiB = 0, beforeMiB = 0;
  if (kind == "warmed") {
    beforeMiB = treeMiB().first;
    std::optional<bool> ready;
    brivane::QPPaymentForm::warmUp([&ready](bool isReady) { ready = isReady; });
    if (!pumpUntil([&ready] { return ready.has_value(); }, 60) || !*ready) return 1;
    pumpUntil([] { return false; }, 0.2);  // the same settle as the window's
    warmUpMiB = treeMiB().first;
  }
  auto once = kind == "bare" ? bareOnce : formOnce;
  double first = once(*window, base);
  auto [mib, processes] = treeMiB();
  pumpUntil([] { return false; }, 0.1);
  double again = once(*window, base);
  std::printf("%.3f %.3f %.1f %d %.1f %.1f\n", first, again, mib, processes, warmUpMiB, beforeMiB);
  brivane::QPPaymentForm::releaseWarmUp();
  window.reset();
  return first < 0 || again < 0 ? 1 : 0;
}

// --- The driver -------------------------------------------------------------------------------

struct Sample {
  double cold = -1, again = -1, mib = 0;
  int processes = 0;
  double warmUpMiB = 0, beforeMiB = 0;
};

Sample spawnChild(const std::string& kind, const std::string& base) {
  int fds[2];
  Sample sample;
  if (pipe(fds) != 0) return sample;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
  posix_spawn_file_actions_addclose(&actions, fds[0]);
  std::string self = "/proc/self/exe";
  std::vector<std::string> args{"bench_form", "--child", kind, base};
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  int spawned = posix_spawn(&pid, self.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(fds[1]);
  std::string out;
  char buffer[256];
  ssize_t n;
  while ((n = read(fds[0], buffer, sizeof buffer)) > 0) out.append(buffer, static_cast<std::size_t>(n));
  close(fds[0]);
  if (spawned != 0) return sample;
  int status = 0;
  waitpid(pid, &status, 0);
  if (std::sscanf(out.c_str(), "%lf %lf %lf %d %lf %lf", &sample.cold, &sample.again, &sample.mib,
                  &sample.processes, &sample.warmUpMiB, &sample.beforeMiB) != 6 ||
      !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    sample = Sample();
  return sample;
}

int driver(int rounds) {
  httplib::Server server;
  server.set_tcp_nodelay(true);
  int port = server.bind_to_any_port("127.0.0.1");
  std::string base = "http://127.0.0.1:" + std::to_string(port);
  brivane::sandbox::registerProviderPages(server, base, nullptr);
  std::thread serving([&server] { server.listen_after_bind(); });
  while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));

  std::vector<double> coldRatio, againRatio, againOverCold, warmedOverCold, warmedAgainOverCold, formCold,
      formAgain, bareCold, bareAgain, warmedFirst, warmedAgain, formMiB, bareMiB, warmedMiB, warmUpMiB,
      beforeWarmUpMiB, formOverBareMiB;
  int processes = 0, warmedProcesses = 0;
  bool failed = false;
  for (int round = 0; round < rounds && !failed; ++round) {
    // The rounds go through the six orders of the three kinds: over six rounds each kind runs
    // first, second and last twice, and before and after each other kind three times.
    std::map<std::string, Sample> samples;
    std::vector<std::string> order{"bare", "form", "warmed"};
    for (int step = 0; step < round % 6; ++step) std::next_permutation(order.begin(), order.end());
    for (const std::string& kind : order) samples[kind] = spawnChild(kind, base);
    const Sample &form = samples["form"], &bare = samples["bare"], &warmed = samples["warmed"];
    if (form.cold < 0 || bare.cold < 0 || warmed.cold < 0) {
      std::fprintf(stderr, "bench_form: round %d failed (is there a display? run under xvfb-run -a)\n",
                   round);
      failed = true;
      break;
    }
    std::printf(
        "round %d: form %.0f ms, again %.0f ms, %.0f MiB; bare view %.0f ms, again %.0f ms, %.0f MiB; "
        "warmed %.0f ms, again %.0f ms, %.0f MiB (warm-up alone %.0f MiB)\n",
        round, form.cold, form.again, form.mib, bare.cold, bare.again, bare.mib, warmed.cold, warmed.again,
        warmed.mib, warmed.warmUpMiB);
    std::fflush(stdout);
    coldRatio.push_back(form.cold / bare.cold);
    againRatio.push_back(form.again / bare.again);
    againOverCold.push_back(form.again / form.cold);
    warmedOverCold.push_back(warmed.cold / form.cold);
    warmedAgainOverCold.push_back(warmed.again / form.cold);
    formCold.push_back(form.cold);
    formAgain.push_back(form.again);
    bareCold.push_back(bare.cold);
    bareAgain.push_back(bare.again);
    warmedFirst.push_back(warmed.cold);
    warmedAgain.push_back(warmed.again);
    formMiB.push_back(form.mib);
    bareMiB.push_back(bare.mib);
    formOverBareMiB.push_back(form.mib - bare.mib);
    warmedMiB.push_back(warmed.mib);
    warmUpMiB.push_back(warmed.warmUpMiB);
    beforeWarmUpMiB.push_back(warmed.beforeMiB);
    processes = form.processes;
    warmedProcesses = warmed.processes;
  }
  server.stop();
  serving.join();
  if (failed) return 1;
  std::printf("\nMedian of %d per-round values, interquartile range and extremes:\n", rounds);
  std::printf("  form / bare view, creation to loaded, cold   %s\n",
              bench::describe(bench::spreadOf(coldRatio)).c_str());
  std::printf("  form / bare view, created again              %s\n",
              bench::describe(bench::spreadOf(againRatio)).c_str());
  std::printf("  form created again / form cold               %s\n",
              bench::describe(bench::spreadOf(againOverCold)).c_str());
  std::printf("  warmed form / form cold                      %s\n",
              bench::describe(bench::spreadOf(warmedOverCold)).c_str());
  std::printf("  second warmed form / form cold               %s\n",
              bench::describe(bench::spreadOf(warmedAgainOverCold)).c_str());
  std::printf(
      "  form: cold %.0f ms, again %.0f ms; bare view: cold %.0f ms, again %.0f ms; warmed form: %.0f ms, "
      "again %.0f ms\n",
      bench::spreadOf(formCold).median, bench::spreadOf(formAgain).median, bench::spreadOf(bareCold).median,
      bench::spreadOf(bareAgain).median, bench::spreadOf(warmedFirst).median,
      bench::spreadOf(warmedAgain).median);
  std::printf("  process tree after the first load (PSS, %d processes): form %.0f MiB, bare view %.0f MiB\n",
              processes, bench::spreadOf(formMiB).median, bench::spreadOf(bareMiB).median);
  // Other programs using the same libraries at the same time lower every PSS alike: the per-round
  // difference is the fairer figure.
  std::printf("  form's tree - bare view's tree, MiB           %s\n",
              bench::describe(bench::spreadOf(formOverBareMiB)).c_str());
  std::printf("  warmed form, ms                              %s\n",
              bench::describe(bench::spreadOf(warmedFirst)).c_str());
  std::printf(
      "  with the warm-up (PSS, %d processes): %.0f MiB after the first load; before it %.0f MiB warmed up, "
      "%.0f MiB before the warm-up\n",
      warmedProcesses, bench::spreadOf(warmedMiB).median, bench::spreadOf(warmUpMiB).median,
      bench::spreadOf(beforeWarmUpMiB).median);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--child") == 0) return child(argv[2], argv[3]);
  // Neither side needs the accessibility bus; without it both would log its absence.
  setenv("GTK_A11Y", "none", 0);
  int rounds = 6;
  if (argc == 3 && std::strcmp(argv[1], "--rounds") == 0) rounds = std::max(1, std::atoi(argv[2]));
  return driver(rounds);
}
