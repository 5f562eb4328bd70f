#include "waiting_tasks.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "socket/name_resolution.h"
#include "subscription/callback_thread.h"

namespace {

std::vector<UaClientSdk::CallbackTask>& waitingTasks() {
    static std::vector<UaClientSdk::CallbackTask> tasks;
    return tasks;
}

} // namespace

void runWaitingTasks() {
    for (const UaClientSdk::CallbackTask& task : std::exchange(waitingTasks(), {}))
        task.function(task.context.get(), task.argument);
}

void dropWaitingTasks() {
    waitingTasks().clear();
}

namespace UaClientSdk {

CallbackThread::CallbackThread(UaStatus& status) {
    status = UaStatus();
}
CallbackThread::~CallbackThread() = default;

std::unique_ptr<CallbackThread> CallbackThread::start(UaStatus& status) {
    return std::unique_ptr<CallbackThread>(new CallbackThread(status));
}

void CallbackThread::post(Task task) {
    waitingTasks().push_back(std::move(task));
}

UaStatus resolveHost(const std::string& host, const Deadline&, std::vector<std::string>& addresses) {
    addresses = {host};
    return UaStatus();
}

} // namespace UaClientSdk
