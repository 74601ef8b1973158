#include "cli_editor/editor.hpp"

#include "cli_editor/machine.hpp"

namespace cli_editor {

Editor::Editor(Options options) : machine_(std::make_unique<Machine>(std::move(options))) {}
Editor::~Editor() = default;

void Editor::configure(std::string_view inputrc) {
  machine_->configure(inputrc);
}
void Editor::remember(const std::string &line) {
  machine_->remember(line);
}
void Editor::feed(std::string_view bytes) {
  machine_->feed(bytes);
}
void Editor::resize(size_t columns, size_t rows) {
  machine_->resize(columns, rows);
}
int Editor::wait_ms() const {
  return machine_->wait_ms();
}
void Editor::elapsed() {
  machine_->elapsed();
}
void Editor::message(std::string_view text) {
  machine_->message(text);
}
void Editor::begin(const std::string &prompt) {
  machine_->begin(prompt);
}
void Editor::ask(const std::string &prompt, bool echo, size_t longest) {
  machine_->ask(prompt, echo, longest);
}
Event Editor::next() {
  return machine_->next();
}
void Editor::insert(std::string_view text) {
  machine_->insert(text);
}
void Editor::replace(std::string_view line) {
  machine_->replace(line);
}
bool Editor::complete(Choices choices) {
  return machine_->complete(std::move(choices));
}
void Editor::accept() {
  machine_->accept();
}
void Editor::step_aside() {
  machine_->step_aside();
}
void Editor::forget_screen() {
  machine_->forget_screen();
}
void Editor::forget_input() {
  machine_->forget_input();
}
std::string Editor::take_output() {
  return machine_->take_output();
}
std::string Editor::take_pending() {
  return machine_->take_pending();
}
size_t Editor::lines_held() const {
  return machine_->lines_held();
}
bool Editor::is_reading() const {
  return machine_->is_reading();
}
const std::string &Editor::line() const {
  return machine_->line().text();
}
size_t Editor::cursor() const {
  return machine_->line().cursor();
}

}  // namespace cli_editor
