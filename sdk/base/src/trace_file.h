#pragma once

#include <string>
#include <string_view>

#include "uabase/file_descriptor.h"

/// The files of the trace: the current one and its numbered backups. Not thread-safe; throws nothing but
/// std::bad_alloc. What cannot be written is dropped.
///
/// Every entry is one write() call: it survives the process, however that ends, and another process that
/// appends to the same file never cuts through it. That costs a few microseconds an entry and needs no
/// flushing. A file that another process has made into a backup is written no more; a link stays, and the
/// backups lie beside what it leads to.
class TraceFile {
public:
    TraceFile(std::string name, unsigned int maxEntries, unsigned int backups);

    bool isOpen() const { return m_file.isOpen(); }
    /// `entry` ends with its newline.
    void append(std::string_view entry);

private:
    void open(int extraFlags);
    bool isReplaced() const;
    void countEntries();
    void rotate();
    std::string backupName(unsigned int number) const;

    std::string m_name;
    std::string m_target; ///< what a link leads to, or the name itself
    unsigned int m_maxEntries;
    unsigned int m_backups;
    UaFileDescriptor m_file;
    unsigned int m_entries = 0;
    bool m_lineIsCut = false;
};
