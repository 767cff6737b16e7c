// A data set and its journal, which holds it from its first unsaved row on until it is saved or let go.

#include "document/dataset.h"

#include <utility>

namespace px40 {

JournalAbout DataSet::About() const
{
    return {Header(),          caption_,       fileName_,    savedRows_, table_.HasMemoryNumbers(),
            origin_.simulated, origin_.device, origin_.begun};
}

void DataSet::KeepRow()
{
    if (journal_) {
        journal_->Add();
    } else if (shared_->journals) {
        origin_ = shared_->journals->Origin();
        TakeJournal(std::make_unique<Journal>(
            *shared_->journals, [this] { return About(); }, table_.Rows()));
    }
}

void DataSet::TakeJournal(std::unique_ptr<Journal> journal)
{
    journal_ = std::move(journal);
    connect(journal_.get(), &Journal::protectsChanged, this, &DataSet::protectedChanged);
}

void DataSet::Describe()
{
    if (journal_)
        journal_->Describe();
}

void DataSet::SetRunning(bool running)
{
    running_ = running;
    if (!running && saved_)
        LetJournalGo();
}

/// The data set is saved, or nobody wants it.
void DataSet::LetJournalGo()
{
    if (running_) {
        Describe(); // up to which row it is saved
    } else if (journal_) {
        journal_->Remove();
        const bool didProtect = journal_->Protects();
        journal_.reset();
        if (!didProtect)
            Q_EMIT protectedChanged();
    }
}

void DataSet::Recover(JournalContents &&contents, Journal::Left &&journal, bool keepsFile)
{
    const JournalAbout about = std::move(contents.about);
    Adopt(std::move(contents.data));
    DispCalculation();
    PaintGraphtop();
    if (keepsFile) {
        fileName_ = about.fileName;
        savedRows_ = about.savedRows;
    }
    caption_ = about.caption;
    origin_ = {about.device, about.begun, about.simulated};
    recovered_ = true;
    SetSaved(false);
    if (shared_->journals)
        TakeJournal(std::make_unique<Journal>(
            *shared_->journals, [this] { return About(); }, table_.Rows(), std::move(journal)));
    Q_EMIT captionChanged(caption_);
}

} // namespace px40
