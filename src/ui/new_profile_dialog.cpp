#include "ui/new_profile_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "selection/profiles.h"

namespace tessaroven {

frmNewProfile::frmNewProfile(QWidget* owner) : QDialog(owner) {
  setObjectName(QStringLiteral("frmNewProfile"));
  setWindowTitle(QLatin1String(kNewProfileTitle));
  auto* layout = new QVBoxLayout(this);
  auto* caption = new QLabel(QStringLiteral("New Profile"), this);
  name_ = new QLineEdit(this);
  name_->setMaxLength(kMaxProfileNameLength);
  name_->setAccessibleName(QStringLiteral("New Profile"));
  name_->setMinimumWidth(320);
  caption->setBuddy(name_);
  withSelections_ = new QCheckBox(QStringLiteral("Save file selections with profile"), this);
  auto* buttons = new QDialogButtonBox(this);
  create_ = buttons->addButton(QStringLiteral("Create"), QDialogButtonBox::AcceptRole);
  QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
  create_->setDefault(true);
  cancel->setAutoDefault(false);
  layout->addWidget(caption);
  layout->addWidget(name_);
  layout->addWidget(withSelections_);
  layout->addWidget(buttons);

  connect(name_, &QLineEdit::textChanged, this, &frmNewProfile::NameChanged);
  connect(create_, &QPushButton::clicked, this, &frmNewProfile::Create);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

  // The placeholder is selected, so the first key pressed replaces it.
  name_->setText(QLatin1String(kNewProfilePlaceholder));
  name_->selectAll();
  withSelections_->setChecked(true);
  NameChanged(name_->text());
}

void frmNewProfile::NameChanged(const QString& text) {
  create_->setEnabled(!text.isEmpty() && text != QLatin1String(kNewProfilePlaceholder));
}

void frmNewProfile::Create() {
  if (!create_->isEnabled()) return;
  result_ = name_->text().toStdU16String();
  if (!withSelections_->isChecked()) result_ += kFiltersOnlyMarker;
  done(1);
}

std::optional<std::u16string> RunNewProfileDialog(QWidget* owner) {
  frmNewProfile dialog(owner);
  if (dialog.exec() != 1 || dialog.Result().empty()) return std::nullopt;
  return dialog.Result();
}

}  // namespace tessaroven
