#include "scanners/sane/sane_thread.h"

#include <sane/sane.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <exception>
#include <thread>
#include <utility>

#include "platform/base_services.h"

namespace quillbay {

namespace {

thread_local bool t_isSaneThread = false;

bool askPerson(IApp* app, const std::string& prompt, bool secret, std::string* answer) {
  const KxPtr<IEvents> events = query<IEvents>(app);
  return events && events->AskText(prompt.c_str(), secret ? 1 : 0, answer) == 1;
}

void copyOut(const std::string& text, char* out, std::size_t room) {
  const std::size_t length = std::min(text.size(), room - 1);
  std::memcpy(out, text.data(), length);
  out[length] = '\0';
}

}  // namespace

struct SaneThread::Question {
  std::string prompt;
  bool secret = false;
  std::string answer;
  bool hasAnswer = false;
  bool done = false;
};

struct SaneThread::Task {
  std::function<void()> work;
  KxPtr<IApp> app;
  bool hasCaller = false;
  bool done = false;
  std::exception_ptr error;
  Question* question = nullptr;  // lives on the SANE thread's stack
};

void ignoreSigpipe() noexcept {
  struct sigaction now {};
  if (sigaction(SIGPIPE, nullptr, &now) != 0 || now.sa_handler != SIG_DFL) return;
  now.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &now, nullptr);
}

SaneThread& SaneThread::instance() {
  static SaneThread& thread = *std::unique_ptr<SaneThread>(new SaneThread).release();
  return thread;
}

SaneThread::SaneThread() {
  std::thread([this] { run(); }).detach();
}

bool SaneThread::isCurrent() const noexcept { return t_isSaneThread; }

void SaneThread::enqueue(std::shared_ptr<Task> task) {
  const std::lock_guard lock(m_mutex);
  m_tasks.push_back(std::move(task));
  m_wake.notify_one();
}

void SaneThread::call(IApp* app, const std::function<void()>& work) {
  if (isCurrent()) return work();
  const auto task = std::make_shared<Task>();
  task->work = work;
  task->app = KxPtr<IApp>::share(app);
  task->hasCaller = true;
  enqueue(task);

  std::unique_lock lock(m_mutex);
  for (;;) {
    m_progress.wait(lock, [&] { return task->done || (task->question && !task->question->done); });
    if (task->done) break;
    Question& question = *task->question;
    lock.unlock();
    std::string answer;
    const bool has = askPerson(app, question.prompt, question.secret, &answer);
    lock.lock();
    question.answer = std::move(answer);
    question.hasAnswer = has;
    question.done = true;
    m_progress.notify_all();
  }
  const std::exception_ptr error = std::exchange(task->error, nullptr);  // destroyed on this thread only
  lock.unlock();
  if (error) std::rethrow_exception(error);
}

void SaneThread::post(KxPtr<IApp> app, std::function<void()> work) {
  const auto task = std::make_shared<Task>();
  task->work = std::move(work);
  task->app = std::move(app);
  enqueue(task);
}

void SaneThread::runTask(Task& task) {
  try {
    task.work();
  } catch (const std::exception& e) {
    if (!task.hasCaller) logLine(LogLevel::Error, "quillbay.scanner", e.what());
    task.error = std::current_exception();
  }
  task.work = nullptr;  // destroys its captures on this thread, before the caller continues
}

void SaneThread::startDrivers() {
  SANE_Int version = 0;
  const SANE_Status status = sane_init(&version, &SaneThread::authorise);
  if (status != SANE_STATUS_GOOD)
    logLine(LogLevel::Error, "quillbay.scanner", std::string("SANE cannot be used: ") + sane_strstatus(status));
}

bool SaneThread::renewDrivers() {
  if (m_devices > 0) return false;
  logLine(LogLevel::Info, "quillbay.scanner", "the scanner drivers are started again");
  sane_exit();
  startDrivers();
  return true;
}

void SaneThread::run() {
  t_isSaneThread = true;
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
  startDrivers();
  for (;;) {
    std::shared_ptr<Task> task;
    {
      std::unique_lock lock(m_mutex);
      m_wake.wait(lock, [&] { return !m_tasks.empty(); });
      task = std::move(m_tasks.front());
      m_tasks.pop_front();
      m_running = task;
    }
    runTask(*task);
    const std::lock_guard lock(m_mutex);
    m_running.reset();
    task->done = true;
    m_progress.notify_all();
  }
}

bool SaneThread::askCaller(const std::string& prompt, bool secret, std::string* answer) {
  std::unique_lock lock(m_mutex);
  const std::shared_ptr<Task> task = m_running;
  if (!task) return false;
  if (!task->hasCaller) {
    lock.unlock();
    return askPerson(task->app.get(), prompt, secret, answer);
  }
  Question question{prompt, secret, {}, false, false};
  task->question = &question;
  m_progress.notify_all();
  m_progress.wait(lock, [&] { return question.done; });
  task->question = nullptr;
  *answer = std::move(question.answer);
  return question.hasAnswer;
}

void SaneThread::authorise(const char* resource, char* user, char* password) {
  SaneThread& self = instance();
  std::string userText, passwordText;
  const auto ask = [&](const std::string& prompt, bool secret, std::string* answer) {
    return self.askCaller(prompt, secret, answer);
  };
  self.m_auth.answer(resource ? resource : "", ask, &userText, &passwordText);
  copyOut(userText, user, SANE_MAX_USERNAME_LEN);
  copyOut(passwordText, password, SANE_MAX_PASSWORD_LEN);
}

}  // namespace quillbay
