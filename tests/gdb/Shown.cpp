// What a person looks at in GDB: the test stops in look().

#include <Command/Query/Paging.h>
#include <Command/UrlPath.h>
#include <Data/AttributeBase.h>
#include <Data/AttributeValue.h>

#include <string>

namespace
{

using namespace Zovi;

struct Shown {
    Command::UrlPath address{std::string("/api/v1/host/processes?$limit=5")};
    Command::UrlPath badAddress{std::string("/a/b/c/d")};
    Command::Paging page{"20", "10"};
    Command::Paging badPage{"x", "y"};
    Data::Attribute<Data::AttributeValueInteger> number{Data::INVALID_XOBJ_ID, "pid", 42};
    Data::Attribute<Data::AttributeValueStringable<std::string>> text{Data::INVALID_XOBJ_ID, "state",
                                                                      "a \"b\""};
};

__attribute__((noinline)) void look(Shown& shown)
{
    asm volatile("" : : "r"(&shown) : "memory");
}

} // namespace

int main()
{
    Shown shown;
    look(shown);
    return 0;
}
