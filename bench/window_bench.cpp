// The main window with a folder of 10,000 audio files: how soon its rows show after
// the folder is selected, the longest tick and the longest paint while their
// metadata streams in, sorting by each column, and the memory of the rows with their
// tags over the empty window. Run it on the offscreen platform and under Xvfb:
//
//   QT_QPA_PLATFORM=offscreen build/release/bench/window_bench
//   xvfb-run -a build/release/bench/window_bench
//
// The files are hard links to one small FLAC file of tests/data (the reader opens
// each as its own file; the page cache keeps the bytes warm, as a second visit of a
// folder would). Budgets: rows within 150 ms, no tick or paint over 16 ms, sorting
// under 100 ms, under 60 MB for the rows and their tags.
#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QTableView>
#include <QThread>
#include <QTreeView>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/single_instance.h"
#include "base/settings.h"
#include "decode/plugin_folder.h"
#include "ui/file_list_model.h"
#include "ui/file_list_view.h"
#include "ui/main_window.h"
#include "ui/metadata_reader.h"

namespace fs = std::filesystem;
using namespace tessaroven;

namespace {

long ResidentKilobytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
  return 0;
}

double Ms(const QElapsedTimer& timer) { return static_cast<double>(timer.nsecsElapsed()) / 1e6; }

}  // namespace

int main(int argc, char** argv) {
  constexpr int kFiles = 10000;
  const fs::path root = fs::temp_directory_path() / ("tessaroven-window-bench-" + std::to_string(getpid()));
  const fs::path home = root / "home", folder = home / "Music" / "Big";
  fs::create_directories(folder);
  for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) unsetenv(variable);
  setenv("HOME", home.c_str(), 1);
  const fs::path source = fs::path(TESSAROVEN_BENCH_DATA_DIR) / "tone.flac";
  for (int i = 0; i < kFiles; ++i) fs::create_hard_link(source, folder / ("track " + std::to_string(i) + ".flac"));
  SetPluginFolderOverride(std::u16string(u"" TESSAROVEN_BENCH_PLUGIN_DIR) + u"/");
  SetDefaultSettingsRoot(SettingsRoot::CurrentUser);
  SetDefaultSettingsKeyPath(kDefaultSettingsKeyPath);

  QApplication app(argc, argv);
  SingleInstance instance;
  instance.Open();
  {
    frmMain window(instance);
    window.resize(1400, 900);
    window.show();
    app.processEvents();
    const long emptyKb = ResidentKilobytes();

    // Selecting the folder lists it; the rows are visible once the list has painted.
    QElapsedTimer shown;
    shown.start();
    window.OpenPath(QString::fromStdString(folder.string()).toStdU16String());
    window.List()->viewport()->repaint();
    const double rowsMs = Ms(shown);
    const std::size_t rows = window.ListModel()->RowCount();

    // The metadata streams in through the tick; time each tick and each paint.
    double longestTick = 0, longestPaint = 0;
    int ticks = 0;
    QElapsedTimer all;
    all.start();
    MetadataReader& reader = window.Reader();
    while (reader.Running() || reader.Done() < rows) {
      QElapsedTimer one;
      one.start();
      window.Tick();
      longestTick = std::max(longestTick, Ms(one));
      one.start();
      window.List()->viewport()->repaint();
      longestPaint = std::max(longestPaint, Ms(one));
      ++ticks;
      QThread::msleep(kTickMilliseconds);
      if (all.elapsed() > 120000) break;
    }
    window.Tick();
    const double streamMs = Ms(all);
    const long fullKb = ResidentKilobytes();

    double longestSort = 0;
    QString slowest;
    for (int column = 0; column < window.ListModel()->columnCount(); ++column) {
      QElapsedTimer sort;
      sort.start();
      emit window.List()->horizontalHeader()->sectionClicked(column);
      const double took = Ms(sort);
      if (took > longestSort) {
        longestSort = took;
        slowest = window.ListModel()->headerData(column, Qt::Horizontal).toString();
      }
    }
    std::printf("platform %s, %zu rows\n", qPrintable(QGuiApplication::platformName()), rows);
    std::printf("rows visible after selecting the folder: %.1f ms (budget 150)\n", rowsMs);
    std::printf("metadata of all rows in %.0f ms over %d ticks; longest tick %.2f ms, longest paint %.2f ms (budget 16)\n",
                streamMs, ticks, longestTick, longestPaint);
    std::printf("longest sort of %zu rows: %.1f ms by \"%s\" (budget 100)\n", rows, longestSort, qPrintable(slowest));
    std::printf("memory of the rows with their tags: %.1f MB over the empty window (budget 60)\n",
                static_cast<double>(fullKb - emptyKb) / 1024.0);
    window.close();
  }
  instance.Close();
  fs::remove_all(root);
  return 0;
}
