#include "host/cli/change.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "host/cli/batch.h"
#include "host/cli/change_mailbox.h"
#include "host/cli/change_plan.h"
#include "host/cli/change_teller.h"
#include "host/cli/change_worker.h"
#include "host/cli/interruption.h"
#include "host/safe_edit/plan.h"

namespace zevka::host {

namespace {

class ChangeRun {
 public:
  ChangeRun(Session& session, const ChangePlan& plan, const ChangeWords& words,
            const ChangeTask& task)
      : session_(session),
        plan_(plan),
        words_(words),
        task_(task),
        teller_(session, plan, words, task),
        jobs_(words.jobs) {}

  // All messages, whatever the place.
  void RunBatch();
  // One message to standard output.
  void RunStream();

 private:
  std::size_t RunMessages(ChangeWorker& worker, std::size_t first);
  void RunInputs(ChangeWorker& worker);

  Session& session_;
  const ChangePlan& plan_;
  const ChangeWords& words_;
  const ChangeTask& task_;
  ChangeTeller teller_;
  std::size_t jobs_;
};

// All inputs up to the next mbox. Result: the number of the first one that was not done.
std::size_t ChangeRun::RunMessages(ChangeWorker& worker, std::size_t first) {
  std::size_t end = first;
  while (end < plan_.inputs.size() && plan_.inputs[end].kind != InputKind::kMbox) {
    ++end;
  }
  OrderedRun<ChangeReport> run(
      [&](std::size_t number) { return worker.ChangeInput(first + number); },
      [&](std::size_t number, const ChangeReport& report) {
        teller_.Tell(report, plan_.inputs[first + number].bytes);
      },
      Interruption::IsInterrupted);
  return first + run.Run(end - first, jobs_);
}

void ChangeRun::RunInputs(ChangeWorker& worker) {
  const Interruption interruption;
  std::size_t next = 0;
  while (next < plan_.inputs.size() && !Interruption::IsInterrupted()) {
    if (plan_.inputs[next].kind != InputKind::kMbox) {
      next = RunMessages(worker, next);
    } else if (ChangeMailbox(worker, teller_, plan_, next, jobs_)) {
      ++next;
    }
  }
  teller_.End(plan_.inputs.size() - next);
}

void ChangeRun::RunBatch() {
  session_.WithPacker([this](const Packer& packer) {
    MessageEditor editor(packer, task_);
    ChangeWorker worker(editor, plan_, words_);
    RunInputs(worker);
  });
}

void ChangeRun::RunStream() {
  const Input& input = plan_.inputs.front();
  std::string message;
  const auto read = [&] {
    const bool isStandardInput = input.kind == InputKind::kStandardInput;
    message = ReadInput({input.given, isStandardInput ? std::string() : plan_.PathOf(input)});
  };
  if (!session_.Guarded(input.given, read)) {
    return;
  }
  // Whatever goes wrong from here on, the message passes.
  session_.WithPacker([&](const Packer& packer) {
    MessageEditor editor(packer, task_);
    ChangeWorker worker(editor, plan_, words_);
    Worked worked = worker.ChangeBytes(input.given, message);
    teller_.Tell(worked.report, message.size());
    message = std::move(worked.bytes);
  });
  Print(message);
}

}  // namespace

void RunChange(Session& session, const ChangeWords& words, ChangeTask task) {
  task.options.limits = words.limits;
  task.options.guardTransportSignatures = !words.noTransportGuard;
  if (const auto bad = FindBadWish(task.wishes, task.options)) {
    session.Report(task.command, bad->detail, kExitUsage);
    return;
  }
  const std::optional<ChangePlan> plan = PlanChange(session, words);
  if (!plan) {
    return;
  }
  ChangeRun run(session, *plan, words, task);
  const bool isStream =
      plan->place == Place::kStandardOutput && plan->inputs.front().kind != InputKind::kMbox;
  if (isStream) {
    run.RunStream();
  } else {
    run.RunBatch();
  }
}

}  // namespace zevka::host
