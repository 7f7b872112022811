#include "updates/installation/recovery.h"

#include "updates/installation/exchange.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/open_folder.h"
#include "updates/installation/running_programs.h"
#include "updates/installation/tree_mark.h"

#include <cerrno>
#include <utility>

namespace ovrel {

namespace {

TreeKind kindAt(const InstallationPlace& place, const std::string& name, const Journal& journal) {
    return treeKind(place.parent(), name, journal.token);
}

/// The folder that held the new tree before the exchange, and the previous one for a moment after it.
FileDescriptor openStagedFolder(const InstallationPlace& place, const Journal& journal) {
    const FileDescriptor staging = openFolder(place.parent(), journal.staging);
    return staging ? openFolder(staging.get(), stagedTreeFolder) : FileDescriptor();
}

/// The private folder of an update that has ended.
void removeStaging(const InstallationPlace& place, const Journal& journal) {
    if (journal.staging.starts_with(place.stagingPrefix())) {
        static_cast<void>(removeTree(place.parent(), journal.staging));
    }
}

void write(TreeCalls& calls, const InstallationPlace& place, Journal& journal, JournalState state) {
    journal.state = state;
    writeJournal(calls, place, journal);
}

std::optional<Journal> settleExchange(TreeCalls& calls, const InstallationPlace& place, Journal journal) {
    const FileDescriptor staged = openStagedFolder(place, journal);
    const std::string previous = place.previousName();
    TreeKind inPlace = kindAt(place, place.name(), journal);
    if (inPlace == TreeKind::none && kindAt(place, previous, journal) == TreeKind::unmarked) {
        require(calls.move(place.parent(), previous, place.parent(), place.name()), "cannot put the tree back");
        inPlace = TreeKind::unmarked;
    } else if (inPlace == TreeKind::none && staged &&
               treeKind(staged.get(), journal.top, journal.token) == TreeKind::marked) {
        require(calls.move(staged.get(), journal.top, place.parent(), place.name()), "cannot put the tree in place");
        inPlace = TreeKind::marked;
    }
    if (inPlace == TreeKind::marked) {
        if (staged && treeKind(staged.get(), journal.top, journal.token) == TreeKind::unmarked) {
            require(calls.move(staged.get(), journal.top, place.parent(), previous), "cannot put the tree aside");
        }
        require(calls.sync(place.parent()), "cannot keep the exchange");
        write(calls, place, journal, JournalState::installed);
        return journal;
    }
    require(calls.sync(place.parent()), "cannot keep the exchange");
    removeStaging(place, journal);
    removeJournal(calls, place);
    return std::nullopt;
}

/// Whatever the journal says or fails to say, a previous tree is right in a place that is empty.
std::optional<Journal> settleEmptyPlace(TreeCalls& calls, const InstallationPlace& place,
                                        std::optional<Journal> journal) {
    if (identityOf(place.parent(), place.name()) || !identityOf(place.parent(), place.previousName())) {
        return journal;
    }
    require(calls.move(place.parent(), place.previousName(), place.parent(), place.name()), "cannot put the tree back");
    require(calls.sync(place.parent()), "cannot keep the tree");
    removeJournal(calls, place);
    return std::nullopt;
}

/// \return false when the previous tree is not there
bool exchangeBack(TreeCalls& calls, const InstallationPlace& place) {
    const std::optional<FileIdentity> current = identityOf(place.parent(), place.name());
    const std::optional<FileIdentity> previous = identityOf(place.parent(), place.previousName());
    if (!current || !previous) {
        return false;
    }
    removeInstalledTree(calls, place.parent(), place.failedName(), keptFilesName(place));
    takePlace(calls, place, *current,
              IncomingTree{.folder = place.parent(), .name = place.previousName(), .identity = *previous},
              place.failedName());
    return true;
}

Journal settleUndoing(TreeCalls& calls, const InstallationPlace& place, Journal journal) {
    const std::string previous = place.previousName();
    TreeKind inPlace = kindAt(place, place.name(), journal);
    if (inPlace == TreeKind::none && kindAt(place, previous, journal) == TreeKind::unmarked) {
        require(calls.move(place.parent(), previous, place.parent(), place.name()), "cannot put the tree back");
        inPlace = TreeKind::unmarked;
    }
    if (inPlace == TreeKind::marked && exchangeBack(calls, place)) {
        inPlace = TreeKind::unmarked;
    }
    if (inPlace == TreeKind::marked) { // there is nothing to go back to
        write(calls, place, journal, JournalState::installed);
        return journal;
    }
    if (kindAt(place, previous, journal) == TreeKind::marked) {
        require(calls.move(place.parent(), previous, place.parent(), place.failedName()), "cannot put the tree aside");
    }
    require(calls.sync(place.parent()), "cannot keep the exchange");
    write(calls, place, journal, JournalState::failed);
    return journal;
}

void report(StartReport& start, KeptFiles kept) {
    if (!kept.empty()) {
        start.kept.push_back(std::move(kept));
    }
}

KeptFiles removeBeside(TreeCalls& calls, const InstallationPlace& place, const std::string& name) {
    return removeInstalledTree(calls, place.parent(), name, keptFilesName(place));
}

/// Ends an update whose version has started healthily, unless a program still needs the previous tree: this one, one
/// that came up in the moment of the exchange, or whoever finds no other tree.
KeptFiles finishConfirmed(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& running) {
    if (!identityOf(place.parent(), place.name()) || identityOf(place.parent(), place.previousName()) == running ||
        !otherProgramsOf(place.parent(), place.previousName()).empty()) {
        return {};
    }
    KeptFiles kept = removeBeside(calls, place, place.previousName());
    removeJournal(calls, place);
    return kept;
}

/// While it exists, no other window of the installation gets beyond its beginning, if none was open before.
class Alone {
public:
    Alone(InstanceLock& instance, const InstallationPlace& place) : Alone(instance) {
        granted_ = instance.tryAlone() && !othersRun(place); // should the look throw, the destructor runs already
    }
    ~Alone() { instance_.share(); }
    Alone(const Alone&) = delete;
    Alone& operator=(const Alone&) = delete;

    bool granted() const { return granted_; }

private:
    explicit Alone(InstanceLock& instance) : instance_(instance) {}

    InstanceLock& instance_;
    bool granted_ = false;
};

/// The tree in place. Throws ESTALE when that is another one than the program came from: what it is not, it can neither
/// confirm nor replace.
FileDescriptor openRunning(const InstallationPlace& place, const FileIdentity& running) {
    FileDescriptor tree = openFolder(place.parent(), place.name());
    require(identityOf(tree.get()) == running ? 0 : ESTALE, "another tree is in place than this program's");
    return tree;
}

/// The start of a version that is not confirmed: the third one that no confirmation came before takes it back.
std::optional<Journal> countStart(TreeCalls& calls, const InstallationPlace& place, Journal journal,
                                  InstanceLock& instance) {
    const Alone alone(instance, place);
    if (!alone.granted()) {
        return journal; // one that runs may still confirm
    }
    const bool isDue = journal.startCount >= unconfirmedStartLimit;
    if (isDue && takeBack(calls, place, journal)) {
        return readJournal(place);
    }
    journal.startCount = isDue ? unconfirmedStartLimit : journal.startCount + 1;
    writeJournal(calls, place, journal);
    return journal;
}

/// \param tree the one in place, from which this program runs
KeptFiles confirm(TreeCalls& calls, const InstallationPlace& place, Journal journal, const FileDescriptor& tree,
                  const FileIdentity& running) {
    write(calls, place, journal, JournalState::confirmed);
    removeStaging(place, journal);
    unmarkTree(calls, tree.get());
    return finishConfirmed(calls, place, running);
}

/// Ends an earlier update while programs of the installation run.
/// \param tree the one in place, from which this program runs
void endEarlier(TreeCalls& calls, const InstallationPlace& place, const FileDescriptor& tree,
                const FileIdentity& running, const RememberFailed& remember) {
    std::optional<Journal> journal = readJournal(place);
    if (journal && journal->state == JournalState::exchanging) { // with a tree in place nothing moves there
        journal = settleExchange(calls, place, std::move(*journal));
    }
    if (!journal) {
        return;
    }
    switch (journal->state) {
    case JournalState::exchanging:
    case JournalState::undoing: break; // the next start exchanges the trees
    case JournalState::installed:
    case JournalState::confirmed: static_cast<void>(confirm(calls, place, std::move(*journal), tree, running)); break;
    case JournalState::failed:
        if (remember(journal->version)) {
            removeStaging(place, *journal);
            static_cast<void>(removeBeside(calls, place, place.failedName()));
            removeJournal(calls, place);
        }
        break;
    }
}

void finish(TreeCalls& calls, const InstallationPlace& place, const std::optional<Journal>& journal,
            const FileIdentity& running, InstanceLock& instance, StartReport& start) {
    if (!journal) {
        return;
    }
    removeStaging(place, *journal);
    switch (journal->state) {
    case JournalState::exchanging:
    case JournalState::undoing: break; // settled before
    case JournalState::installed: {
        const std::optional<Journal> counted = countStart(calls, place, *journal, instance);
        start.counted =
            counted && counted->state == JournalState::installed && counted->startCount > journal->startCount;
        if (counted && counted->state == JournalState::failed) {
            start.failedVersion = counted->version;
        }
        break;
    }
    case JournalState::confirmed: report(start, finishConfirmed(calls, place, running)); break;
    case JournalState::failed:
        start.failedVersion = journal->version;
        report(start, removeBeside(calls, place, place.failedName()));
        break;
    }
}

} // namespace

StartReport recoverAtStart(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& running,
                           InstanceLock& instance) {
    StartReport start;
    try {
        if (const std::optional<UpdateLock> lock = UpdateLock::tryAcquire(place)) {
            const std::optional<Journal> journal = settle(calls, place);
            finish(calls, place, journal, running, instance, start);
        }
    } catch (const std::system_error& error) {
        start.failure = error;
    }
    const std::optional<FileIdentity> inPlace = identityOf(place.parent(), place.name());
    start.restart = inPlace && inPlace != running;
    return start;
}

KeptFiles confirmHealthyStart(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& running) {
    const std::optional<UpdateLock> lock = UpdateLock::acquireSoon(place);
    require(lock ? 0 : EBUSY, "an update is at work");
    const FileDescriptor tree = openRunning(place, running);
    std::optional<Journal> journal = readJournal(place);
    const bool isBetween =
        journal && (journal->state == JournalState::exchanging || journal->state == JournalState::undoing);
    require(isBetween ? EBUSY : 0, "an exchange of the trees has not ended");
    if (journal && journal->state == JournalState::failed) {
        return {};
    }
    if (journal) {
        return confirm(calls, place, std::move(*journal), tree, running);
    }
    unmarkTree(calls, tree.get());
    return finishConfirmed(calls, place, running);
}

void discountStart(TreeCalls& calls, const InstallationPlace& place) {
    const std::optional<UpdateLock> lock = UpdateLock::acquireSoon(place);
    require(lock ? 0 : EBUSY, "an update is at work");
    std::optional<Journal> journal = readJournal(place);
    if (journal && journal->state == JournalState::installed && journal->startCount > 0) {
        --journal->startCount;
        writeJournal(calls, place, *journal);
    }
}

void forgetFailedVersion(TreeCalls& calls, const InstallationPlace& place, const std::string& version) {
    const std::optional<UpdateLock> lock = UpdateLock::acquireSoon(place);
    require(lock ? 0 : EBUSY, "an update is at work");
    const std::optional<Journal> journal = readJournal(place);
    if (journal && journal->state == JournalState::failed && journal->version == version) {
        removeJournal(calls, place);
    }
}

std::optional<UpdateLock> lockForNewUpdate(TreeCalls& calls, const InstallationPlace& place,
                                           const FileIdentity& running, const RememberFailed& remember) {
    // An installer that was told to give up still cleans for a moment.
    std::optional<UpdateLock> lock = UpdateLock::acquireSoon(place);
    if (lock) {
        const FileDescriptor tree = openRunning(place, running);
        endEarlier(calls, place, tree, running, remember);
        require(readJournal(place) ? EBUSY : 0, "an earlier update has not ended");
    }
    return lock;
}

std::optional<Journal> settle(TreeCalls& calls, const InstallationPlace& place) {
    std::optional<Journal> journal = readJournal(place);
    if (!journal || journal->state == JournalState::installed) {
        return settleEmptyPlace(calls, place, std::move(journal));
    }
    switch (journal->state) {
    case JournalState::exchanging: return settleExchange(calls, place, std::move(*journal));
    case JournalState::undoing: return settleUndoing(calls, place, std::move(*journal));
    case JournalState::installed:
    case JournalState::confirmed:
    case JournalState::failed: break;
    }
    return journal;
}

bool takeBack(TreeCalls& calls, const InstallationPlace& place, Journal journal) {
    if (kindAt(place, place.name(), journal) != TreeKind::marked ||
        kindAt(place, place.previousName(), journal) != TreeKind::unmarked) {
        return false;
    }
    write(calls, place, journal, JournalState::undoing);
    return settleUndoing(calls, place, std::move(journal)).state == JournalState::failed;
}

} // namespace ovrel
