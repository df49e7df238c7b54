#include "doctor/Mends.hpp"

#include "doctor/Places.hpp"
#include "doctor/Words.hpp"

#include <set>

#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::doctor {
namespace {

/// Returns the endings that occur, each as a pattern: *.md
std::set<std::string> patternsOf(const std::vector<std::string>& names) {
    std::set<std::string> patterns;
    for (const std::string& name : names) {
        patterns.insert("*" + name.substr(name.find_last_of('.')));
    }
    return patterns;
}

/// Returns a command that runs where the root is, so that its long path is there only once. The
/// shell that it is pasted into stays where it is.
std::string inFolderOf(const std::string& root, const std::string& command) {
    const std::string folder = local::parentOf(root);
    const std::string preparation =
        placeOf(folder).isFolder() ? std::string{} : "mkdir -p " + shellWord(folder) + " && ";
    return "(" + preparation + "cd " + shellWord(folder) + " && " + command + ")";
}

bool isOfAnotherUser(const std::string& path) {
    struct stat about{};
    return stat(path.c_str(), &about) == 0 && about.st_uid != geteuid();
}

} // namespace

std::string linkCommand(const std::string& target, const std::string& path) {
    const std::string folder = local::parentOf(path);
    const std::string preparation =
        placeOf(folder).isFolder() ? std::string{} : "mkdir -p " + shellWord(folder) + " && ";
    return preparation + "ln -sfn " + shellWord(target) + " " + shellWord(path);
}

std::string unlinkCommand(const std::string& link) {
    return "rm " + shellWord(link);
}

std::string wrapCommand(const std::string& root, bool isThere, const std::string& target,
                        bool foldersToo) {
    const std::string name = shellWord(lastName(root));
    const std::string link = name + "/" + shellWord(withoutDots(lastName(target)));
    const std::string folders =
        foldersToo ? " && ln -s " + shellWord(target) + "/*/ " + name + "/" : std::string{};
    return inFolderOf(root, (isThere ? "rm " + name + " && " : std::string{}) + "mkdir " + name +
                                " && ln -s " + shellWord(target) + " " + link + folders);
}

std::string gatherCommand(const std::string& root, const std::string& newFolder,
                          const std::vector<std::string>& names, std::size_t count) {
    constexpr std::size_t mostForOneCommand = 1'000;
    const std::string name = shellWord(lastName(root));
    const std::string into = name + "/" + shellWord(newFolder);
    std::string command = "mkdir -p " + into;
    if (count <= mostForOneCommand) {
        command += " && mv -n";
        for (const std::string& pattern : patternsOf(names)) {
            command += " " + name + "/" + pattern;
        }
        return inFolderOf(root, command + " " + into + "/");
    }
    for (const std::string& pattern : patternsOf(names)) {
        command += " && find " + name + " -maxdepth 1 -name '" + pattern + "' -exec mv -n -t " +
                   into + " {} +";
    }
    return inFolderOf(root, command);
}

std::string replaceRootCommand(const std::string& root, const std::string& link,
                               const std::vector<std::string>& folders, const std::string& target) {
    const std::string name = shellWord(lastName(root));
    std::string command = "rm " + name + "/" + shellWord(link) + " && rmdir";
    for (const std::string& folder : folders) {
        command += " " + name + "/" + shellWord(folder);
    }
    return inFolderOf(root, command + " " + name + " && ln -s " + shellWord(target) + " " + name);
}

std::string spreadCommand(const std::string& root, const std::string& link,
                          const std::string& target) {
    const std::string name = shellWord(lastName(root));
    return inFolderOf(root, "rm " + name + "/" + shellWord(link) + " && ln -s " +
                                shellWord(target) + "/*/ " + name + "/");
}

std::string moveCommand(const std::string& path, bool isLink, const std::string& target,
                        const std::string& newPath) {
    if (isLink) {
        return "ln -s " + shellWord(target) + " " + shellWord(newPath) + " && rm " +
               shellWord(path);
    }
    return "mv -n " + shellWord(path) + " " + shellWord(newPath);
}

std::string rightsCommand(const std::string& path, const std::string& rights) {
    if (isOfAnotherUser(path)) {
        return "sudo chown \"$(id -u)\" " + shellWord(path);
    }
    return "chmod " + rights + " " + shellWord(path);
}

std::string fileCommand(const std::string& path) {
    const Place place = placeOf(path);
    if (place.what == Place::What::dangling) {
        return unlinkCommand(path);
    }
    if (place.what != Place::What::file || std::cmp_greater(place.size, local::largestItem)) {
        return "ls -ldh " + shellWord(path);
    }
    if (access(path.c_str(), R_OK) != 0) {
        return rightsCommand(path, "u+r");
    }
    return "head -n 20 " + shellWord(path);
}

std::string renameCommand(const std::string& folder, const std::string& wrong,
                          const std::string& right) {
    return "for f in " + shellWord(folder) + "/*" + wrong + "; do mv -n \"$f\" \"${f%.*}" + right +
           "\"; done";
}

std::string withoutDots(const std::string& name) {
    const auto first = name.find_first_not_of('.');
    return first == std::string::npos ? "unnamed" : name.substr(first);
}

std::string freePath(const std::string& folder, const std::string& name) {
    std::string path = folder + "/" + name;
    for (int number = 2; placeOf(path).what != Place::What::missing && number < 100; ++number) {
        path = folder + "/" + name + "-" + std::to_string(number);
    }
    return path;
}

} // namespace velmiro::doctor
