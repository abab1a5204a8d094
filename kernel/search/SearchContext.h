#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "kernel/catalog/BaseSnapshot.h"
#include "kernel/catalog/OpenBase.h"
#include "kernel/ccl/CommandWords.h"
#include "kernel/common/Status.h"
#include "kernel/record/DateForm.h"
#include "kernel/search/FieldUse.h"
#include "kernel/text/Analyzer.h"

namespace wdb {

// What searches ask of the session they belong to.
class SearchContext {
public:
    virtual ~SearchContext() = default;

    // A base that exists and of which the user may read some field; else WDB_E_BASE.
    virtual Result<std::shared_ptr<OpenBase>> findBase(Slice name) = 0;
    // May the user read this field? (A field that may not be read is to a search as one that does not exist.)
    virtual bool mayRead(const BaseDefinition& base, FieldNumber field) = 0;
    // As long as it stays the same, what could be read can still be read.
    virtual uint64_t rightsState() { return 0; }
    // Where mayRead() notes the fields that it allows, if any.
    virtual FieldUse* fieldUse() { return nullptr; }
    // Can all these fields still be read?
    virtual bool mayStillRead(const FieldUse&) { return true; }
    // The state of a base that the present call sees, the session's own unit included. Valid until the call
    // ends; the same one for the same base within a call.
    virtual Result<const BaseSnapshot*> snapshot(const std::shared_ptr<OpenBase>& base) = 0;
    // Will the next call see the same snapshots (a status is saved)? Without that a set orders all its rows
    // when it is made.
    virtual bool snapshotsStay() const = 0;

    // Does somebody watch how commands are run? They are told of every step when it is over: depth in the
    // command (1 for the outermost), what it was, how many records or rows came out of it.
    virtual bool watched() const { return false; }
    virtual void step(int32_t, const std::string&, uint64_t, std::chrono::nanoseconds) {}

    virtual const ccl::CommandWords& commandWords() const = 0;
    virtual DateForm dateForm() const = 0;
    // Do rows deliver texts, large objects by their contents? (DISTINCT compares what is delivered.)
    virtual bool textsInline() const { return false; }
    virtual bool objectsInline() const { return false; }
    virtual DayNumber today() const = 0;
    // The thread's or session's analyzer.
    virtual Analyzer& analyzer() = 0;
};

}  // namespace wdb
