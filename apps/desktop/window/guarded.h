#pragma once
#include <QCoreApplication>
#include <QString>
#include <exception>
#include <new>

#include "quillbay/errors.h"

namespace desktop {

/// Runs a step about `file` that throws when it fails. Returns what the step answers, or false and stores what a
/// person should read, with the file's name; `*why` is empty otherwise.
template <class Step>
bool guarded(const QString& file, QString* why, Step step) {
  why->clear();
  try {
    return step();
  } catch (const quillbay::CXException& e) {
    *why = QString::fromStdString(e.what());
  } catch (const std::bad_alloc&) {
    *why = QCoreApplication::translate("PageFiles", "There is not enough memory.");
  } catch (const std::exception& e) {  // no thread to work with, for instance: the program goes on
    *why = QString::fromUtf8(e.what());
  }
  if (!why->contains(file)) *why = file + ": " + *why;
  return false;
}

}  // namespace desktop
