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
#include <memory>

#include "command.h"
#include "file_util.h"
#include "palm/feature/basic_imemstream.h"
#include "palm/feature/crypt_feature.h"
#include "palm/feature/unpack_feature.h"

using palm_feature::FEATURE_DATA_SIZE;

namespace {

struct text_options {
    std::string out_path;             // encode -o
    std::vector<std::string> inputs;  // encode FILE...
    std::string text_file, out;       // decode TEXT_FILE OUT
};

int encode(text_options const& opt) {
    std::string const& out_path = opt.out_path;
    std::vector<std::string> const& inputs = opt.inputs;
    if (inputs.empty())
        return palm_tool::fail("text encode: no input files");

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
        for (auto const& cell : part.cells)
            record.add(cell);
    }
    if (!pending_raw.empty())
        return palm_tool::fail("odd number of raw feature files: each print needs its vein");

    std::string text, digest;
    if (!crypt_feature(record, text, digest))
        return palm_tool::fail("nothing to encode");
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

int decode(text_options const& opt) {
    std::string text;
    if (!palm_tool::read_whole_file(opt.text_file, text))
        return palm_tool::fail("cannot read '" + opt.text_file + "'");
    // Files usually end with a newline; the text itself never has white space.
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.pop_back();
    if (text.find('\0') != std::string::npos)
        return palm_tool::fail("'" + opt.text_file + "' holds a zero byte: not a feature text");
    palm_feature::user_palm_feature record;
    if (!palm_feature::unpack_feature(text.c_str(), record))
        return palm_tool::fail("'" + opt.text_file + "' is not a valid feature text (" +
                               std::to_string(text.size()) +
                               " characters; a text of N cells has 1024*N+8, N from 1 to 133)");
    if (!record.save(opt.out))
        return palm_tool::fail("cannot write '" + opt.out + "'");
    std::cout << "cells " << record.size() << "\n";
    return 0;
}

palm_tool::runner setup_text(CLI::App& app) {
    auto opt = std::make_shared<text_options>();
    app.require_subcommand(1);
    CLI::App* enc = app.add_subcommand("encode",
                                       "record or paired 384-byte feature files to "
                                       "feature text and its MD5 digest");
    enc->add_option("-o", opt->out_path, "write the text to this file instead of printing it");
    enc->add_option("FILE", opt->inputs, "record files, or raw feature files in print-vein pairs")
        ->required();
    CLI::App* dec = app.add_subcommand("decode", "a feature text back to a record file");
    dec->add_option("TEXT_FILE", opt->text_file, "file holding one feature text")->required();
    dec->add_option("OUT", opt->out, "record file to write")->required();
    return [opt, enc] { return *enc ? encode(*opt) : decode(*opt); };
}

}  // namespace

PALM_COMMAND("text", "palm text encode [-o TEXT_FILE] FILE... | palm text decode TEXT_FILE OUT",
             "between record files and feature text (with its MD5 digest)",
             "palm text encode -o alice.txt alice.rec", setup_text);
