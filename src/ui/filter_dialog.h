// frmFilter: the filter dialog ("Tessaroven: Filter"). One tab for the audio types,
// one for the date, one per tag field of the filter field list, each row with a
// check box that means "included".
//
// The dialog edits a working copy of the filter state: leaving a tab stores its rows
// into the copy; OK stores the current tab and copies the excluded types, the date,
// the eight marked sets and the eight exclude-all switches into the filter state;
// Cancel leaves the filter state as it was.
//
// A tag tab lists the values of the files seen so far, with how many files carry
// each, and a search box for long lists. Its "exclude" switch turns the tab round:
// off, the unchecked values are excluded and new values pass; on, only the checked
// values pass, new values included. Main thread only.
#pragma once

#include <QDialog>
#include <array>
#include <vector>

#include "filters/filter_state.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QTabWidget;

namespace tessaroven {

inline constexpr char kFilterDialogTitle[] = "Tessaroven: Filter";

// The date tab's four modes and its day table, in the order shown.
extern const std::array<const char*, 4> kDateModeLabels;
struct DateRangeEntry {
  const char* label;
  int days;
};
extern const std::array<DateRangeEntry, 16> kDateRangeEntries;

class frmFilter : public QDialog {
 public:
  // `filters` must outlive the dialog.
  frmFilter(FilterState& filters, QWidget* owner);

  // The parts tests drive: the tabs, a list tab's rows, a tag tab's switch, the date
  // controls, and the four buttons.
  QTabWidget* Tabs() const { return tabs_; }
  QListWidget* Rows(int tab) const;
  QLineEdit* Search(int tab) const;
  QCheckBox* ExcludeSwitch(int tab) const;
  QRadioButton* DateMode(int mode) const { return modes_[static_cast<std::size_t>(mode)]; }
  QComboBox* DateRange() const { return range_; }
  QPushButton* ExcludeAllButton() const { return excludeAll_; }
  QPushButton* IncludeAllButton() const { return includeAll_; }
  QPushButton* OkButton() const { return ok_; }
  // The tab of a metadata slot, or -1 when its field is empty.
  int TabOfSlot(std::size_t slot) const;

 private:
  struct WorkingCopy {
    std::vector<bool> excludedTypes;
    std::int32_t mode = 0, days = 0;
    std::array<clFiltered, kMetadataSlotCount> marked;
    std::array<bool, kMetadataSlotCount> excludeAll{};
  };
  struct ListTab {
    QListWidget* rows = nullptr;
    QLineEdit* search = nullptr;
    QCheckBox* excludeSwitch = nullptr;  // tag tabs only
    int slot = -1;                        // -1: the audio types
  };

  QWidget* BuildListTab(ListTab& tab, const QString& hint);
  QWidget* BuildDateTab();
  void ShowTab(int tab);
  void StoreTab(int tab);
  void SetAllShown(bool checked);
  void UpdateTabTitle(int tab);
  void Accept();

  FilterState& filters_;
  WorkingCopy copy_;
  QTabWidget* tabs_ = nullptr;
  std::vector<ListTab> lists_;  // by tab index; the date tab's entry is empty
  int dateTab_ = 1;
  int shownTab_ = 0;
  std::array<QRadioButton*, 4> modes_{};
  QComboBox* range_ = nullptr;
  QPushButton* excludeAll_ = nullptr;
  QPushButton* includeAll_ = nullptr;
  QPushButton* ok_ = nullptr;
};

}  // namespace tessaroven
