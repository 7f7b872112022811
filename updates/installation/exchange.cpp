#include "updates/installation/exchange.h"

#include "updates/installation/installed_layout.h"
#include "updates/installation/open_folder.h"
#include "updates/installation/tree_mark.h"

#include <cerrno>

namespace ovrel {

namespace {

// Volumes that cannot exchange say so in different ways.
bool cannotExchange(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EXDEV;
}

void requireIdentity(int folder, const std::string& name, const FileIdentity& identity) {
    require(identityOf(folder, name) == identity ? 0 : ESTALE, "another folder stands in a tree's place");
}

void exchangeOnce(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& installed,
                  const IncomingTree& incoming, const std::string& aside) {
    int error = 0;
    if (identityOf(place.parent(), place.name()) != incoming.identity ||
        identityOf(incoming.folder, incoming.name) != installed) {
        error = ESTALE; // somebody was faster than the look before
    } else {
        error = calls.move(incoming.folder, incoming.name, place.parent(), aside);
    }
    if (error != 0) {
        static_cast<void>(calls.exchange(place.parent(), place.name(), incoming.folder, incoming.name));
        require(error, "cannot put the previous tree aside");
    }
}

void renameTwice(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& installed,
                 const IncomingTree& incoming, const std::string& aside) {
    require(calls.move(place.parent(), place.name(), place.parent(), aside), "cannot put the previous tree aside");
    int error = identityOf(place.parent(), aside) == installed
                    ? calls.move(incoming.folder, incoming.name, place.parent(), place.name())
                    : ESTALE;
    if (error == 0 && identityOf(place.parent(), place.name()) != incoming.identity) {
        static_cast<void>(calls.move(place.parent(), place.name(), incoming.folder, incoming.name));
        error = ESTALE;
    }
    if (error != 0) {
        static_cast<void>(calls.move(place.parent(), aside, place.parent(), place.name()));
        require(error, "cannot put the new tree in place");
    }
}

} // namespace

void takePlace(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& installed,
               const IncomingTree& incoming, const std::string& aside) {
    requireIdentity(place.parent(), place.name(), installed);
    requireIdentity(incoming.folder, incoming.name, incoming.identity);
    const int error = calls.exchange(place.parent(), place.name(), incoming.folder, incoming.name);
    if (error == 0) {
        exchangeOnce(calls, place, installed, incoming, aside);
    } else if (cannotExchange(error)) {
        renameTwice(calls, place, installed, incoming, aside);
    } else {
        require(error, "cannot exchange the trees");
    }
    require(calls.sync(incoming.folder), "cannot keep the exchange");
    require(calls.sync(place.parent()), "cannot keep the exchange");
}

KeptFiles install(TreeCalls& calls, const InstallationPlace& place, const InstallOrder& order) {
    require(readJournal(place) ? EBUSY : 0, "an update has not ended yet");
    const FileDescriptor staging = openFolder(place.parent(), order.staging);
    const FileDescriptor folder = staging ? openFolder(staging.get(), stagedTreeFolder) : FileDescriptor();
    const FileDescriptor tree = folder ? openFolder(folder.get(), order.top) : FileDescriptor();
    require(tree && identityOf(tree.get()) == order.staged ? 0 : ESTALE, "the new tree is not the verified one");
    requireIdentity(place.parent(), place.name(), order.installed);

    KeptFiles kept = removeInstalledTree(calls, place.parent(), place.previousName(), keptFilesName(place));
    Journal journal{.state = JournalState::exchanging,
                    .token = newToken(),
                    .version = order.version,
                    .staging = order.staging,
                    .top = order.top};
    markTree(calls, tree.get(), journal.token);
    require(calls.syncVolume(tree.get()), "cannot write the new tree through to the disk");
    writeJournal(calls, place, journal);
    takePlace(calls, place, order.installed,
              IncomingTree{.folder = folder.get(), .name = order.top, .identity = order.staged}, place.previousName());
    journal.state = JournalState::installed;
    writeJournal(calls, place, journal);
    return kept;
}

std::string keptFilesName(const InstallationPlace& place) {
    return place.name() + "-kept";
}

} // namespace ovrel
