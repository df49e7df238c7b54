#include "tests/doctor/DoctorHome.hpp"

#include "support/ChildProcess.hpp"
#include "support/Files.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>
#include <system_error>

namespace velmiro::doctor::test {

namespace fs = std::filesystem;
using MCPStdio::Descriptor;
using support::ChildProcess;

namespace {

/// Runs a program to its end, with its output in a file, and returns its exit status.
int runToEnd(ChildProcess::Options options, const std::string& output, const std::string& errors) {
    const auto create = [](const std::string& path) {
        return Descriptor{::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600)};
    };
    const Descriptor nowhere{::open("/dev/null", O_RDONLY | O_CLOEXEC)};
    const Descriptor out = create(output);
    const Descriptor err = create(errors);
    options.input = nowhere.get();
    options.output = out.get();
    options.error = err.get();
    ChildProcess child{options};
    const auto status = child.waitForEnd(std::chrono::seconds{120});
    return status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
        text.replace(at, what.size(), with);
    }
    return text;
}

} // namespace

std::string eventFile(std::string_view uid) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//test//EN\r\nBEGIN:VEVENT\r\nUID:" +
           std::string{uid} +
           "\r\nDTSTART:20260910T100000Z\r\nSUMMARY:Dentist\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
}

std::string reminderFile(std::string_view uid, bool isDone) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//test//EN\r\nBEGIN:VTODO\r\nUID:" +
           std::string{uid} + "\r\nSUMMARY:Milk\r\n" + (isDone ? "STATUS:COMPLETED\r\n" : "") +
           "END:VTODO\r\nEND:VCALENDAR\r\n";
}

std::string cardFile(std::string_view name) {
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:" + std::string{name} + "\r\nN:" + std::string{name} +
           ";;;;\r\nEND:VCARD\r\n";
}

std::string Printed::section(std::string_view title) const {
    const std::string heading = "\n\n" + std::string{title} + "\n";
    const auto begin = output.find(heading);
    if (begin == std::string::npos) {
        return "no such section in: " + output;
    }
    const auto first = begin + heading.size();
    return output.substr(first, output.find("\n\n", first) + 1 - first);
}

DoctorHome::DoctorHome() {
    fs::create_directory(path());
    fs::create_directories(program().parent_path());
    fs::create_directories(interpreter().parent_path());
    std::error_code otherDisk;
    fs::create_hard_link(DOCTOR_BINARY, program(), otherDisk);
    if (otherDisk) {
        fs::copy_file(DOCTOR_BINARY, program());
    }
    support::writeFile(interpreter(), "#!/bin/sh\nfor last; do :; done\necho \"$last\"\n");
    fs::permissions(interpreter(), fs::perms::owner_all);
}

fs::path DoctorHome::program() const {
    return folder_.path() / "installed/bin/velmiro_doctor";
}

fs::path DoctorHome::interpreter() const {
    return folder_.path() / "installed/libexec/velmiro/osascript";
}

fs::path DoctorHome::data(const fs::path& name) const {
    return path() / "Library/Application Support/Velmiro" / name;
}

void DoctorHome::write(const fs::path& name, std::string_view contents) const {
    fs::create_directories((path() / name).parent_path());
    support::writeFile(path() / name, contents);
}

void DoctorHome::writeData(const fs::path& name, std::string_view contents) const {
    write(data(name), contents);
}

void DoctorHome::link(const fs::path& target, const fs::path& name) const {
    linkTo((path() / target).string(), name);
}

void DoctorHome::linkTo(const std::string& target, const fs::path& name) const {
    fs::create_directories(data(name).parent_path());
    fs::create_symlink(target, data(name));
}

void DoctorHome::makeWell() const {
    write(".calendars/home/1.ics", eventFile("1"));
    write(".calendars/home/color", "#ff0000");
    write(".calendars/work/2.ics", eventFile("2"));
    write(".calendars/work/3.ics", eventFile("3"));
    write(".calendars/work/displayname", "The Office\n");
    write(".todo/list/1.ics", reminderFile("1"));
    write(".todo/list/2.ics", reminderFile("2", true));
    write(".contacts/friends/anna.vcf", cardFile("Anna"));
    write("notes/Ideas/boat.md", "# Boat\n\nBuy one.\n");
    write("Maildir/cur/1.a:2,S", "From: a@example.org\n\nHello\n");
    write("Maildir/cur/2.a:2,ST", "From: a@example.org\n\nTrash\n");
    write("Maildir/new/3.a", "From: a@example.org\n\nNew\n");
    link(".calendars", "Calendars");
    link(".todo", "Reminders");
    link(".contacts", "Contacts");
    link("notes", "Notes");
    link("Maildir", "Mail");
}

bool DoctorHome::giveUpRights() {
    if (::geteuid() != 0) {
        return true;
    }
    const std::string tool = "/usr/bin/setpriv";
    if (!fs::exists(tool)) {
        return false;
    }
    prefix_ = {tool, "--reuid=65534", "--regid=65534", "--clear-groups", "--"};
    fs::permissions(folder_.path(), fs::perms{0755});
    EXPECT_EQ(::lchown(path().c_str(), 65'534, 65'534), 0);
    for (const auto& entry : fs::recursive_directory_iterator{path()}) {
        EXPECT_EQ(::lchown(entry.path().c_str(), 65'534, 65'534), 0);
    }
    fs::permissions(interpreter(), fs::perms{0755});
    return true;
}

Printed DoctorHome::run(const std::map<std::string, std::string>& variables,
                        const std::vector<std::string>& arguments) const {
    std::map<std::string, std::string> environment{{"HOME", path().string()},
                                                   {"PATH", "/usr/bin:/bin"},
                                                   {"LC_ALL", "C.UTF-8"},
                                                   {"VELMIRO_APPROVAL_SOCKET", socket()}};
    for (const auto& [name, value] : variables) {
        environment[name] = value;
    }
    std::vector<std::string> line = prefix_;
    line.push_back(program().string());
    line.insert(line.end(), arguments.begin(), arguments.end());
    Printed run;
    const std::string output = folder_ / "output";
    const std::string errors = folder_ / "errors";
    run.status = runToEnd({.arguments = line, .environment = environment}, output, errors);
    run.output = replaced(support::readFile(output), path().string(), "$HOME");
    run.errors = support::readFile(errors);
    return run;
}

void DoctorHome::paste(const Printed& run, std::string_view section) const {
    std::istringstream lines{replaced(run.section(section), "$HOME", path().string())};
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("      ")) {
            ++count;
            std::vector<std::string> shell = prefix_;
            shell.insert(shell.end(), {"/bin/bash", "-c", line});
            const int status =
                runToEnd({.arguments = shell, .environment = {{"PATH", "/usr/bin:/bin"}}},
                         folder_ / "pasted", folder_ / "complaints");
            EXPECT_EQ(status, 0) << line << '\n' << support::readFile(folder_ / "complaints");
        }
    }
    EXPECT_GT(count, 0U) << run.output;
}

Told mended(const DoctorHome& home, std::string_view section) {
    const Printed run = home.run();
    EXPECT_EQ(run.status, 1);
    home.paste(run, section);
    return {run.section(section), home.run().section(section)};
}

std::map<std::string, std::string> stampsIn(const fs::path& folder) {
    std::map<std::string, std::string> stamps;
    const auto add = [&](const fs::path& path) {
        struct stat about{};
        EXPECT_EQ(lstat(path.c_str(), &about), 0);
        std::ostringstream text;
        text << about.st_ino << ' ' << about.st_mode << ' ' << about.st_uid << ' ' << about.st_size
             << ' ' << about.st_nlink << ' ' << about.st_mtim.tv_sec << '.' << about.st_mtim.tv_nsec
             << ' ' << about.st_ctim.tv_sec << '.' << about.st_ctim.tv_nsec;
        stamps[path.string()] = text.str();
    };
    add(folder);
    for (const auto& entry : fs::recursive_directory_iterator{folder}) {
        add(entry.path());
    }
    return stamps;
}

} // namespace velmiro::doctor::test
