#include "ui/filter_dialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <numeric>

#include "base/text.h"

namespace tessaroven {

const std::array<const char*, 4> kDateModeLabels = {
    "Last modifed, include newer than:", "Last Modifed, include older than:", "Creation Date, include newer than:",
    "Creation Date, include older than:"};

const std::array<DateRangeEntry, 16> kDateRangeEntries = {{{"[date not checked, all files included]", 0},
                                                           {"1 Day (24 hours)", 1},
                                                           {"2 Days", 2},
                                                           {"3 Days", 3},
                                                           {"4 Days", 4},
                                                           {"5 Days", 5},
                                                           {"6 Days", 6},
                                                           {"7 Days (1 week)", 7},
                                                           {"14 Days (2 weeks)", 14},
                                                           {"21 Days (3 weeks)", 21},
                                                           {"30 Days (1 month)", 30},
                                                           {"60 Days (2 months)", 60},
                                                           {"91 Days (1/4 year)", 91},
                                                           {"182 Days (1/2 year)", 182},
                                                           {"273 Days (3/4 year)", 273},
                                                           {"365 Days (1 year)", 365}}};

namespace {

constexpr int kKeyRole = Qt::UserRole + 1;

QString Q(std::u16string_view text) { return QString::fromStdU16String(std::u16string(text)); }

}  // namespace

frmFilter::frmFilter(FilterState& filters, QWidget* owner) : QDialog(owner), filters_(filters) {
  setObjectName(QStringLiteral("frmFilter"));
  setWindowTitle(QLatin1String(kFilterDialogTitle));
  resize(560, 480);

  // The working copy starts as the filter state is now.
  const DecoderTypeList& types = filters_.Types().Records();
  for (std::size_t i = 0; i < types.Count(); ++i) copy_.excludedTypes.push_back(types[i].excluded);
  copy_.mode = filters_.Date().Mode();
  copy_.days = filters_.Date().Days();
  for (std::size_t slot = 0; slot < kMetadataSlotCount; ++slot) {
    copy_.marked[slot] = filters_.Metadata().Slot(slot).Marked();
    copy_.excludeAll[slot] = filters_.Metadata().Slot(slot).ExcludeAll();
  }

  tabs_ = new QTabWidget(this);
  tabs_->setAccessibleName(QStringLiteral("Filters"));
  lists_.resize(2);
  tabs_->addTab(BuildListTab(lists_[0], QStringLiteral("Checked types are listed and converted.")),
                QStringLiteral("Audio Types"));
  dateTab_ = tabs_->addTab(BuildDateTab(), QStringLiteral("Date"));
  for (std::size_t slot = 0; slot < kMetadataSlotCount; ++slot) {
    const std::u16string& field = filters_.Metadata().Slot(slot).Field();
    if (field.empty()) continue;
    ListTab tab;
    tab.slot = static_cast<int>(slot);
    QWidget* page = BuildListTab(tab, QStringLiteral("Checked values are included. The values of the files seen so "
                                                     "far are listed, with how many files carry each."));
    lists_.push_back(tab);
    tabs_->addTab(page, Q(field));
    UpdateTabTitle(tabs_->count() - 1);
  }

  excludeAll_ = new QPushButton(QStringLiteral("Exclude All"), this);
  includeAll_ = new QPushButton(QStringLiteral("Include All"), this);
  auto* buttons = new QDialogButtonBox(this);
  ok_ = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
  QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
  ok_->setDefault(true);
  connect(excludeAll_, &QPushButton::clicked, this, [this] { SetAllShown(false); });
  connect(includeAll_, &QPushButton::clicked, this, [this] { SetAllShown(true); });
  connect(ok_, &QPushButton::clicked, this, &frmFilter::Accept);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

  auto* bottom = new QHBoxLayout;
  bottom->addWidget(excludeAll_);
  bottom->addWidget(includeAll_);
  bottom->addStretch(1);
  bottom->addWidget(buttons);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(tabs_, 1);
  layout->addLayout(bottom);

  ShowTab(0);
  connect(tabs_, &QTabWidget::currentChanged, this, [this](int tab) {
    StoreTab(shownTab_);
    ShowTab(tab);
  });
}

QWidget* frmFilter::BuildListTab(ListTab& tab, const QString& hint) {
  auto* page = new QWidget(this);
  auto* layout = new QVBoxLayout(page);
  auto* help = new QLabel(hint, page);
  help->setWordWrap(true);
  layout->addWidget(help);
  tab.search = new QLineEdit(page);
  tab.search->setPlaceholderText(QStringLiteral("Search"));
  tab.search->setAccessibleName(QStringLiteral("Search"));
  tab.search->setClearButtonEnabled(true);
  layout->addWidget(tab.search);
  tab.rows = new QListWidget(page);
  tab.rows->setAccessibleName(tab.slot < 0 ? QStringLiteral("Audio types") : QStringLiteral("Values"));
  tab.rows->setUniformItemSizes(true);
  layout->addWidget(tab.rows, 1);
  if (tab.slot >= 0) {
    tab.excludeSwitch =
        new QCheckBox(QStringLiteral("Exclude every value not checked, including values not seen yet"), page);
    layout->addWidget(tab.excludeSwitch);
    connect(tab.excludeSwitch, &QCheckBox::toggled, this, [this] { UpdateTabTitle(shownTab_); });
  }
  QListWidget* rows = tab.rows;
  connect(tab.search, &QLineEdit::textChanged, this, [rows](const QString& text) {
    for (int i = 0; i < rows->count(); ++i)
      rows->item(i)->setHidden(!text.isEmpty() && !rows->item(i)->text().contains(text, Qt::CaseInsensitive));
  });
  return page;
}

QWidget* frmFilter::BuildDateTab() {
  auto* page = new QWidget(this);
  auto* layout = new QVBoxLayout(page);
  auto* group = new QButtonGroup(page);
  for (std::size_t mode = 0; mode < kDateModeLabels.size(); ++mode) {
    modes_[mode] = new QRadioButton(QLatin1String(kDateModeLabels[mode]), page);
    group->addButton(modes_[mode], static_cast<int>(mode));
    layout->addWidget(modes_[mode]);
  }
  range_ = new QComboBox(page);
  range_->setAccessibleName(QStringLiteral("Days"));
  for (const DateRangeEntry& entry : kDateRangeEntries) range_->addItem(QLatin1String(entry.label), entry.days);
  layout->addWidget(range_);
  layout->addStretch(1);
  return page;
}

QListWidget* frmFilter::Rows(int tab) const {
  return tab >= 0 && static_cast<std::size_t>(tab) < lists_.size() ? lists_[static_cast<std::size_t>(tab)].rows
                                                                   : nullptr;
}
QLineEdit* frmFilter::Search(int tab) const {
  return tab >= 0 && static_cast<std::size_t>(tab) < lists_.size() ? lists_[static_cast<std::size_t>(tab)].search
                                                                   : nullptr;
}
QCheckBox* frmFilter::ExcludeSwitch(int tab) const {
  return tab >= 0 && static_cast<std::size_t>(tab) < lists_.size()
             ? lists_[static_cast<std::size_t>(tab)].excludeSwitch
             : nullptr;
}

int frmFilter::TabOfSlot(std::size_t slot) const {
  for (std::size_t tab = 0; tab < lists_.size(); ++tab)
    if (lists_[tab].slot == static_cast<int>(slot)) return static_cast<int>(tab);
  return -1;
}

void frmFilter::UpdateTabTitle(int tab) {
  const ListTab& list = lists_[static_cast<std::size_t>(tab)];
  if (list.slot < 0) return;
  const auto slot = static_cast<std::size_t>(list.slot);
  // The switch may be shown or only stored, depending on whether the tab is open.
  const bool on = tab == shownTab_ && list.excludeSwitch ? list.excludeSwitch->isChecked() : copy_.excludeAll[slot];
  const QString field = Q(filters_.Metadata().Slot(slot).Field());
  tabs_->setTabText(tab, on ? field + QStringLiteral(" (only checked)") : field);
}

void frmFilter::ShowTab(int tab) {
  shownTab_ = tab;
  const bool isList = tab != dateTab_;
  excludeAll_->setEnabled(isList);
  includeAll_->setEnabled(isList);
  if (tab == dateTab_) {
    modes_[static_cast<std::size_t>(std::clamp(copy_.mode, 0, 3))]->setChecked(true);
    int index = range_->findData(copy_.days);
    if (index < 0) {
      // A profile may hold a day count the table does not offer; show it as it is.
      range_->addItem(QStringLiteral("%1 Days").arg(copy_.days), copy_.days);
      index = range_->count() - 1;
    }
    range_->setCurrentIndex(index);
    return;
  }
  ListTab& list = lists_[static_cast<std::size_t>(tab)];
  list.rows->clear();
  if (list.slot < 0) {
    const DecoderTypeList& types = filters_.Types().Records();
    std::vector<std::size_t> order(types.Count());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return AsciiFoldCompare(types[a].extension, types[b].extension) < 0; });
    for (const std::size_t i : order) {
      auto* item = new QListWidgetItem(Q(types[i].extension) + QStringLiteral("   ") + Q(types[i].description));
      item->setData(kKeyRole, static_cast<qulonglong>(i));
      item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsSelectable);
      item->setCheckState(copy_.excludedTypes[i] ? Qt::Unchecked : Qt::Checked);
      list.rows->addItem(item);
    }
  } else {
    const auto slot = static_cast<std::size_t>(list.slot);
    const FilterValueCatalogue& values = filters_.Metadata().Slot(slot).Catalogue();
    std::vector<std::size_t> order(values.Count());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return AsciiFoldCompare(values[a].value, values[b].value) < 0; });
    const bool excludeAll = copy_.excludeAll[slot];
    for (const std::size_t i : order) {
      auto* item = new QListWidgetItem(Q(values[i].value) + QStringLiteral(" (%1)").arg(values[i].files));
      item->setData(kKeyRole, static_cast<qulonglong>(values[i].key));
      item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsSelectable);
      // Checked means included: a marked value is excluded while the switch is off,
      // and is one of the few that pass while it is on.
      const bool marked = copy_.marked[slot].Contains(values[i].key);
      item->setCheckState(marked == excludeAll ? Qt::Checked : Qt::Unchecked);
      list.rows->addItem(item);
    }
    const QSignalBlocker quiet(list.excludeSwitch);
    list.excludeSwitch->setChecked(excludeAll);
  }
  // Keep the search the user typed when coming back to the tab.
  emit list.search->textChanged(list.search->text());
}

void frmFilter::StoreTab(int tab) {
  if (tab == dateTab_) {
    for (std::size_t mode = 0; mode < modes_.size(); ++mode)
      if (modes_[mode]->isChecked()) copy_.mode = static_cast<std::int32_t>(mode);
    copy_.days = range_->currentData().toInt();
    return;
  }
  if (tab < 0 || static_cast<std::size_t>(tab) >= lists_.size()) return;
  const ListTab& list = lists_[static_cast<std::size_t>(tab)];
  if (list.slot < 0) {
    for (int row = 0; row < list.rows->count(); ++row) {
      const QListWidgetItem* item = list.rows->item(row);
      copy_.excludedTypes[item->data(kKeyRole).toULongLong()] = item->checkState() != Qt::Checked;
    }
    return;
  }
  const auto slot = static_cast<std::size_t>(list.slot);
  const bool excludeAll = list.excludeSwitch->isChecked();
  copy_.excludeAll[slot] = excludeAll;
  clFiltered marked;
  for (int row = 0; row < list.rows->count(); ++row) {
    const QListWidgetItem* item = list.rows->item(row);
    const bool checked = item->checkState() == Qt::Checked;
    if (checked == excludeAll) marked.Add(static_cast<std::uint32_t>(item->data(kKeyRole).toULongLong()));
  }
  copy_.marked[slot] = marked;
  UpdateTabTitle(tab);
}

void frmFilter::SetAllShown(bool checked) {
  QListWidget* rows = Rows(tabs_->currentIndex());
  if (!rows) return;
  // With a search typed, the buttons act on the values found.
  for (int row = 0; row < rows->count(); ++row)
    if (!rows->item(row)->isHidden()) rows->item(row)->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

void frmFilter::Accept() {
  StoreTab(tabs_->currentIndex());
  DecoderTypeList& types = filters_.Types().Records();
  for (std::size_t i = 0; i < types.Count() && i < copy_.excludedTypes.size(); ++i)
    types[i].excluded = copy_.excludedTypes[i];
  filters_.Date().Set(copy_.mode, copy_.days);
  for (std::size_t slot = 0; slot < kMetadataSlotCount; ++slot) {
    filters_.Metadata().Slot(slot).Marked() = copy_.marked[slot];
    filters_.Metadata().Slot(slot).SetExcludeAll(copy_.excludeAll[slot]);
  }
  done(1);
}

}  // namespace tessaroven
