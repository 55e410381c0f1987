#include "request.h"

#include <gmock/gmock.h>
#include <vector>

TEST(Request, RefusesTheCountedOnes)
{
    for (const char* text : {"", "any", "any:", "any:0", "any:-1", "any:1x", "any:1++", "write:1", ":1",
             "any:99999999999999999999"})
        EXPECT_FALSE(parse_refusal(text).has_value()) << text;
    fault_plan plan;
    plan.refusals = {*parse_refusal("read-byte:2"), *parse_refusal("any:6+")};
    plan.refusal_count = 2;
    std::vector<bool> refused;
    for (const request_kind kind : {request_kind::open, request_kind::read_byte, request_kind::write_byte,
             request_kind::read_byte, request_kind::close, request_kind::read_byte, request_kind::read_byte,
             request_kind::write_byte, request_kind::close})
        refused.push_back(count_request(plan, kind));
    EXPECT_EQ(refused, (std::vector<bool>{false, false, false, true, false, false, true, true, false}));
}
