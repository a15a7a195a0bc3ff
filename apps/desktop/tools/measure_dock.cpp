#include "tools/measure_dock.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QTableView>
#include <QToolButton>
#include <algorithm>

namespace desktop {

namespace {
constexpr int kRowMargin = 6;
}

MeasureDock::MeasureDock(QWidget* parent)
    : QDockWidget(tr("Measures"), parent), m_list(new MeasureList(this)), m_table(new QTableView(this)) {
  setObjectName("measureDock");
  auto* content = new QWidget(this);
  auto* column = new QVBoxLayout(content);
  column->setContentsMargins(4, 4, 4, 4);
  auto* row = new QHBoxLayout;
  m_copy = add(row, tr("Copy"), tr("Copies the chosen measures as text, or all"), &MeasureDock::copy);
  m_save = add(row, tr("Save as CSV..."), tr("Saves all measures as a table"), &MeasureDock::saveCsv);
  m_remove = add(row, tr("Delete"), tr("Takes the chosen measures off the list"), &MeasureDock::removeChosen);
  m_clear = add(row, tr("Clear"), tr("Takes all measures off the list"), &MeasureDock::clear);
  row->addStretch();
  column->addLayout(row);
  column->addWidget(m_table);
  setWidget(content);
  m_copy->setShortcut(QKeySequence::Copy);
  m_remove->setShortcut(QKeySequence::Delete);
  for (QAction* action : {m_copy, m_remove}) {
    action->setShortcutContext(Qt::WidgetShortcut);
    m_table->addAction(action);
  }
  m_table->setModel(m_list);
  m_table->setAccessibleName(tr("Measures"));
  m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_table->setTabKeyNavigation(false);
  m_table->verticalHeader()->hide();
  m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + kRowMargin);
  m_table->horizontalHeader()->setStretchLastSection(true);
  m_table->setWordWrap(false);
  connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, &MeasureDock::updateActions);
  for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
    connect(m_list, signal, this, &MeasureDock::updateActions);
  connect(m_list, &QAbstractItemModel::modelReset, this, &MeasureDock::updateActions);
  connect(m_list, &QAbstractItemModel::headerDataChanged, m_table, &QTableView::resizeColumnsToContents);
  m_table->resizeColumnsToContents();
  updateActions();
}

QAction* MeasureDock::add(QLayout* row, const QString& text, const QString& tip, void (MeasureDock::*step)()) {
  auto* action = new QAction(text, this);
  action->setToolTip(tip);
  action->setStatusTip(tip);
  connect(action, &QAction::triggered, this, step);
  auto* button = new QToolButton(this);
  button->setDefaultAction(action);
  button->setFocusPolicy(Qt::StrongFocus);
  row->addWidget(button);
  return action;
}

void MeasureDock::add(const Measure& measure) {
  const int row = m_list->add(measure);
  m_table->scrollTo(m_list->index(row, 0));
  m_table->resizeColumnsToContents();
}

std::vector<int> MeasureDock::chosen() const {
  std::vector<int> rows;
  const QModelIndexList indexes = m_table->selectionModel()->selectedRows();
  rows.reserve(static_cast<std::size_t>(indexes.size()));
  for (const QModelIndex& index : indexes) rows.push_back(index.row());
  std::sort(rows.begin(), rows.end());
  return rows;
}

void MeasureDock::copy() {
  const std::vector<int> rows = chosen();
  std::vector<Measure> copied;
  copied.reserve(rows.size());
  for (const int row : rows) copied.push_back(m_list->measures()[static_cast<std::size_t>(row)]);
  const QString text = measuresAsText(rows.empty() ? m_list->measures() : copied, m_list->unit());
  QGuiApplication::clipboard()->setText(text);
}

void MeasureDock::saveCsv() {
  const QString file = tableName ? tableName(tr("measures.csv")) : QString();
  if (file.isEmpty()) return;
  QString why;
  if (saveMeasures(m_list->measures(), m_list->unit(), file, &why)) {
    emit saved(file);
  } else {
    emit failed(why);
  }
}

void MeasureDock::removeChosen() { m_list->remove(chosen()); }

void MeasureDock::clear() { m_list->clear(); }

void MeasureDock::updateActions() {
  const bool any = m_list->rowCount() > 0;
  for (QAction* action : {m_copy, m_save, m_clear}) action->setEnabled(any);
  m_remove->setEnabled(m_table->selectionModel()->hasSelection());
}

}  // namespace desktop
