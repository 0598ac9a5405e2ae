// The demo's camera-to-server part: synthetic people enrol from capture
// streams on the device; their templates go to the device's feature library
// and, as feature text, to the server. Login frames of another day are then
// recognised on both sides, and strangers are refused on both.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "demo_sections.h"
#include "palm/feature/crypt_feature.h"
#include "palm/feature/palm_feature_lib.h"
#include "palm/localisation/palm_crop.h"
#include "palm/service/palm_service.h"
#include "palm/workflow/feature_enroll.h"
#include "palm/workflow/feature_login.h"
#include "sim/stream_enrolment.h"

namespace palm_tool {

namespace {

const int kPeople = 4;
const int kStrangers = 3;
const int kLogins = 2;
const int kStreamFrames = 50;
const int kPartition = 4;

std::string device_user_name(unsigned id) {
    return "device_user_" + std::to_string(id);
}

std::string text_of(palm_feature::user_palm_feature const& record) {
    std::string text, digest;
    crypt_feature(record, text, digest);
    return text;
}

struct side_tally {
    int genuine = 0, recognised = 0, strangers = 0, refused = 0;
};

}  // namespace

int demo_device(demo_state& state) {
    std::cout << "== device workflow, camera to server\n";
    palm_algorithm::CPalmCrop::GenerateMappingTable();
    unsigned const base = state.seed * 10u + 7u;
    palm_workflow::i_feature_enroll* const enroll =
        palm_workflow::create_feature_enroll(palm_workflow::ENROLL_FEATURE_25);
    create_partition(kPartition, 0);
    std::vector<unsigned> ids;
    int finished = 0;
    demo_clock enrol_clock;
    int frames = 0;
    for (int p = 0; p < kPeople; ++p) {
        unsigned const id = base + static_cast<unsigned>(p);
        palm_test::capture_stream const stream(id, 1, 1, kStreamFrames,
                                               palm_test::difficulty::easy);
        palm_test::stream_enrolment const r = palm_test::enrol_from_stream(*enroll, stream);
        frames += r.frames;
        std::printf("person %u: stage %d after %d of %d frames, %d features\n", id, r.stage,
                    r.frames, stream.size(), r.has_features ? r.features.size() : 0);
        if (!r.has_features)
            continue;
        ++finished;
        palm_feature_lib::update(id, &r.features, palm_feature_lib::first_hand);
        push_template(device_user_name(id).c_str(), text_of(r.features).c_str());
        assign_user_to_partition(kPartition, device_user_name(id).c_str());
        ids.push_back(id);
    }
    std::printf("enrolment: %d of %d people, %.1f ms per frame offered\n", finished, kPeople,
                enrol_clock.ms() / (frames ? frames : 1));
    palm_workflow::destroy_feature_process(enroll);

    palm_workflow::i_feature_login* const login = palm_workflow::create_feature_login();
    side_tally device, server;
    demo_clock login_clock;
    for (int p = 0; p < kPeople + kStrangers; ++p) {
        unsigned const id = base + static_cast<unsigned>(p);
        bool const genuine = p < kPeople;
        for (int k = 0; k < kLogins; ++k) {
            palm_struct::frame_info f;
            palm_share::image_pair const pair =
                palm_test::login_frame(id, 1, 2, k, palm_test::difficulty::easy);
            f.vl = pair.vl;
            f.nir = pair.nir;
            palm_algorithm::palm_position pos;
            unsigned who = 0;
            palm_feature_lib::hand hand = palm_feature_lib::second_hand;
            bool const on_device = login->detect(f, ids, pos, who, hand);
            // The same frame as a one-cell probe for the server.
            palm_feature::palm_cell<palm_feature::single_feature> cell;
            bool const coded = login->feature_extract(f, cell, pos);
            bool on_server = false;
            std::string name;
            if (coded) {
                palm_feature::user_palm_feature probe;
                probe.add(cell);
                on_server = match_1vN(kPartition, text_of(probe).c_str(), "");
                name = match_1vN_get_identify_user_name(kPartition);
            }
            if (genuine) {
                ++device.genuine;
                ++server.genuine;
                device.recognised += on_device && who == id ? 1 : 0;
                server.recognised += on_server && name == device_user_name(id) ? 1 : 0;
            } else {
                ++device.strangers;
                ++server.strangers;
                device.refused += on_device ? 0 : 1;
                server.refused += on_server ? 0 : 1;
            }
        }
    }
    std::printf(
        "device login: %d of %d genuine frames recognised, %d of %d stranger frames "
        "refused, %.1f ms per frame with both sides\n",
        device.recognised, device.genuine, device.refused, device.strangers,
        login_clock.ms() / ((kPeople + kStrangers) * kLogins));
    std::printf(
        "server match_1vN: %d of %d genuine frames identified, %d of %d stranger frames "
        "refused\n",
        server.recognised, server.genuine, server.refused, server.strangers);
    palm_workflow::destroy_feature_process(login);
    delete_partition(kPartition);
    for (unsigned id : ids) {
        palm_feature_lib::remove(id);
        delete_template(device_user_name(id).c_str());
    }
    // Strangers must be refused on both sides; recognition is reported.
    return finished == kPeople && device.refused == device.strangers &&
                   server.refused == server.strangers
               ? 0
               : 1;
}

}  // namespace palm_tool
