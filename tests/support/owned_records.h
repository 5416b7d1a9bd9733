// Listing records handed out by the library belong to the caller: this owner deletes them all.
#ifndef PLX_TEST_OWNED_RECORDS_H
#define PLX_TEST_OWNED_RECORDS_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "plxftpclient.h"

namespace plxtest {

struct OwnedRecords {
    std::vector<PLX_FTP_CLIENT::TkFileInfo*> items;

    OwnedRecords() = default;
    OwnedRecords(const OwnedRecords&) = delete;
    OwnedRecords& operator=(const OwnedRecords&) = delete;
    ~OwnedRecords()
    {
        for (PLX_FTP_CLIENT::TkFileInfo* item : items) {
            delete item;
        }
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const PLX_FTP_CLIENT::TkFileInfo* item : items) {
            names.push_back(item->strFileName);
        }
        return names;
    }

    // name -> (size text, type)
    std::map<std::string, std::pair<std::string, int>> Entries() const
    {
        std::map<std::string, std::pair<std::string, int>> entries;
        for (const PLX_FTP_CLIENT::TkFileInfo* item : items) {
            entries[item->strFileName] = {item->strFileSize, item->ucFileType};
        }
        return entries;
    }
};

} // namespace plxtest

#endif // PLX_TEST_OWNED_RECORDS_H
