// "palm text": between record files and feature text.
//   palm text encode [-o TEXT_FILE] FILE...
//       Record files (as user_palm_feature::save writes them) contribute their
//       cells; raw 384-byte feature files are taken in pairs, print then vein,
//       as one cell each. Prints the feature text and its MD5 digest.
//   palm text decode TEXT_FILE OUT
//       Decodes a feature text into a record file.
#include <cctype>
#include <cstdint>
#include <cstring>
#include <iostream>

#include "command.h"
#include "palm/feature/basic_imemstream.h"
#include "palm/feature/crypt_feature.h"
#include "palm/feature/unpack_feature.h"
#include "file_util.h"

using palm_feature::FEATURE_DATA_SIZE;

namespace {

int encode(std::vector<std::string> const& args) {
    std::string out_path;
    std::vector<std::string> inputs;
    for (std::size_t i = 2; i < args.size(); ++i) {
        if (args[i] == "-o" && i + 1 < args.size())
            out_path = args[++i];
        else
            inputs.push_back(args[i]);
    }
    if (inputs.empty()) return palm_tool::fail("text encode: no input files");

    palm_feature::user_palm_feature record;
    std::vector<std::string> pending_raw;
    for (auto const& path : inputs) {
        std::string bytes;
        if (!palm_tool::read_whole_file(path, bytes))
            return palm_tool::fail("cannot read '" + path + "'");
        if (bytes.size() == static_cast<std::size_t>(FEATURE_DATA_SIZE)) {
            pending_raw.push_back(bytes);
            if (pending_raw.size() == 2) {
                palm_feature::palm_cell<palm_feature::single_feature> cell;
                std::memcpy(cell.first.data, pending_raw[0].data(), FEATURE_DATA_SIZE);
                std::memcpy(cell.second.data, pending_raw[1].data(), FEATURE_DATA_SIZE);
                record.add(cell);
                pending_raw.clear();
            }
            continue;
        }
        if (!pending_raw.empty())
            return palm_tool::fail("raw feature file without its vein pair before '" + path + "'");
        palm_feature::user_palm_feature part;
        palm_feature::imemstream in(&bytes[0], bytes.size());
        if (!part.read(in))
            return palm_tool::fail("'" + path +
                                   "' is neither a record file nor a 384-byte feature file");
        for (auto const& cell : part.cells) record.add(cell);
    }
    if (!pending_raw.empty())
        return palm_tool::fail("odd number of raw feature files: each print needs its vein");

    std::string text, digest;
    if (!crypt_feature(record, text, digest)) return palm_tool::fail("nothing to encode");
    if (!out_path.empty()) {
        if (!palm_tool::write_whole_file(out_path, text))
            return palm_tool::fail("cannot write '" + out_path + "'");
        std::cout << "cells " << record.size() << "\nchars " << text.size() << "\nmd5 " << digest
                  << "\n";
    } else {
        std::cout << text << "\n" << digest << "\n";
    }
    return 0;
}

int decode(std::vector<std::string> const& args) {
    if (args.size() != 4) return palm_tool::fail("usage: palm text decode TEXT_FILE OUT");
    std::string text;
    if (!palm_tool::read_whole_file(args[2], text))
        return palm_tool::fail("cannot read '" + args[2] + "'");
    // Files usually end with a newline; the text itself never has white space.
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    if (text.find('\0') != std::string::npos)
        return palm_tool::fail("'" + args[2] + "' holds a zero byte: not a feature text");
    palm_feature::user_palm_feature record;
    if (!palm_feature::unpack_feature(text.c_str(), record))
        return palm_tool::fail("'" + args[2] + "' is not a valid feature text (" +
                               std::to_string(text.size()) +
                               " characters; a text of N cells has 1024*N+8, N from 1 to 133)");
    if (!record.save(args[3])) return palm_tool::fail("cannot write '" + args[3] + "'");
    std::cout << "cells " << record.size() << "\n";
    return 0;
}

int run_text(std::vector<std::string> const& args) {
    if (args.size() >= 2 && args[1] == "encode") return encode(args);
    if (args.size() >= 2 && args[1] == "decode") return decode(args);
    return palm_tool::fail("usage: palm text encode [-o TEXT_FILE] FILE... | palm text decode TEXT_FILE OUT");
}

}  // namespace

PALM_COMMAND("text",
             "  text encode [-o TEXT] FILE...  record or paired 384-byte feature files to feature "
             "text + MD5\n"
             "  text decode TEXT_FILE OUT      feature text to a record file",
             run_text);
