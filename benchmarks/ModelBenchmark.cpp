// What the object model costs: an element of a process list is built, read and rendered, each beside the same
// done by hand on Poco::JSON::Object. Compare Model/... with ByHand/... of one run.
//
// Counters: "allocations" and "bytes" of one pass, and for what is built "bytesHeld", the heap that one
// element occupies while it lives, as the allocator counts it.

#include <Data/AttributeValue.h>
#include <Data/ElementBase.h>

#include <Poco/JSON/Object.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace
{

struct Heap {
    std::int64_t allocations = 0;
    std::int64_t bytes = 0; ///< ever handed out
    std::int64_t held = 0;  ///< handed out and not yet given back
};

Heap heap;

void* allocate(std::size_t size)
{
    void* memory = std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    const auto usable = static_cast<std::int64_t>(malloc_usable_size(memory));
    ++heap.allocations;
    heap.bytes += usable;
    heap.held += usable;
    return memory;
}

void release(void* memory)
{
    if (memory)
        heap.held -= static_cast<std::int64_t>(malloc_usable_size(memory));
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}

void operator delete(void* memory) noexcept
{
    release(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    release(memory);
}

namespace Zovi::Benchmark
{

namespace
{

using Data::AttributeValueInteger;
using Data::ElementGeneric;
using Data::INVALID_XOBJ_ID;
using Poco::JSON::Object;
using Text = Data::AttributeValueStringable<std::string>;

/// What one process is known by, as a program keeps it that has no object model.
struct Process {
    Poco::UUID id;
    std::string name;
    Poco::URI uri;
    std::string state;
    std::string user;
    std::int64_t pid;
    std::int64_t residentMemory;
    std::int64_t cpuTime;
    std::int64_t threads;
    std::int64_t startTime;
    const Process* parent;
};

/// The parent of a process, kept alive by the list that both are in.
class Parent : public Data::AttributeValue<const Data::XObjectBase*, Data::AttributeValueObjectBase>
{
public:
    Parent(const Data::XObjectBase* object)
        : AttributeValue(object)
    {
    }
    const Data::XObjectBase* getReferencedObject() const override { return m_value; }
};

Process makeProcess(const char* uuid, const std::string& name, const Process* parent)
{
    return {Poco::UUID(uuid), name,       Poco::URI(std::string("/host/processes/") + uuid),
            "sleeping",       "www-data", 4711,
            52428800,         123456,     8,
            1700000000000,    parent};
}

const Process& initProcess()
{
    static const Process process = makeProcess("11111111-2222-3333-4444-555555555555", "init", nullptr);
    return process;
}

const Process& serverProcess()
{
    static const Process process =
        makeProcess("99999999-2222-3333-4444-555555555555", "web-server-worker", &initProcess());
    return process;
}

void setNumbersAndTexts(ElementGeneric& element, const Process& process)
{
    element.setValue<Text>("state", process.state);
    element.setValue<Text>("user", process.user);
    element.setValue<AttributeValueInteger>("pid", process.pid);
    element.setValue<AttributeValueInteger>("residentMemory", process.residentMemory);
    element.setValue<AttributeValueInteger>("cpuTime", process.cpuTime);
    element.setValue<AttributeValueInteger>("threads", process.threads);
    element.setValue<AttributeValueInteger>("startTime", process.startTime);
}

std::unique_ptr<ElementGeneric> buildByModel(const Process& process, const Data::XObjectBase* parent)
{
    auto element =
        std::make_unique<ElementGeneric>("host", "processes", process.name, process.id, INVALID_XOBJ_ID);
    setNumbersAndTexts(*element, process);
    if (parent)
        element->setValue<Parent>("parent", parent);
    return element;
}

Object::Ptr identityByHand(const Process& process)
{
    Object::Ptr object = new Object;
    object->set("id", process.id.toString());
    object->set("name", process.name);
    object->set("uri", process.uri.toString());
    return object;
}

/// Building and rendering are one and the same by hand: the document is all that there is.
Object::Ptr renderByHand(const Process& process)
{
    Object::Ptr object = identityByHand(process);
    object->set("state", process.state);
    object->set("user", process.user);
    object->set("pid", process.pid);
    object->set("residentMemory", process.residentMemory);
    object->set("cpuTime", process.cpuTime);
    object->set("threads", process.threads);
    object->set("startTime", process.startTime);
    if (process.parent)
        object->set("parent", identityByHand(*process.parent));
    return object;
}

/// Runs `pass` and counts what a single one allocates.
template <typename Pass>
void measure(benchmark::State& state, Pass pass)
{
    pass();
    const Heap before = heap;
    pass();
    const Heap after = heap;
    for (auto _ : state)
        pass();
    state.counters["allocations"] = static_cast<double>(after.allocations - before.allocations);
    state.counters["bytes"] = static_cast<double>(after.bytes - before.bytes);
}

/// What `make` gives occupies so many bytes while it lives.
template <typename Make>
double bytesHeldBy(Make make)
{
    const std::int64_t before = heap.held;
    const auto made = make();
    return static_cast<double>(heap.held - before);
}

void modelBuild(benchmark::State& state)
{
    const auto parent = buildByModel(initProcess(), nullptr);
    const auto build = [&] {
        return buildByModel(serverProcess(), parent.get());
    };
    measure(state, [&] { benchmark::DoNotOptimize(build()); });
    state.counters["bytesHeld"] = bytesHeldBy(build);
}

void handBuild(benchmark::State& state)
{
    const auto build = [] {
        return renderByHand(serverProcess());
    };
    measure(state, [&] { benchmark::DoNotOptimize(build()); });
    state.counters["bytesHeld"] = bytesHeldBy(build);
}

void modelRead(benchmark::State& state)
{
    const auto element = buildByModel(serverProcess(), nullptr);
    const std::string name = "residentMemory";
    measure(state, [&] {
        benchmark::DoNotOptimize(element->getValue(name)->convert<AttributeValueInteger>()->get());
    });
}

void handRead(benchmark::State& state)
{
    const Object::Ptr object = renderByHand(serverProcess());
    const std::string name = "residentMemory";
    measure(state, [&] { benchmark::DoNotOptimize(object->getValue<std::int64_t>(name)); });
}

void modelReadText(benchmark::State& state)
{
    const auto element = buildByModel(serverProcess(), nullptr);
    const std::string name = "name";
    measure(state, [&] { benchmark::DoNotOptimize(element->getValue(name)->convert<Text>()->get().size()); });
}

void handReadText(benchmark::State& state)
{
    const Object::Ptr object = renderByHand(serverProcess());
    const std::string name = "name";
    measure(state, [&] { benchmark::DoNotOptimize(object->getValue<std::string>(name).size()); });
}

void modelRender(benchmark::State& state)
{
    const auto parent = buildByModel(initProcess(), nullptr);
    const auto element = buildByModel(serverProcess(), parent.get());
    measure(state, [&] { benchmark::DoNotOptimize(element->toJSON(0)); });
}

void handRender(benchmark::State& state)
{
    measure(state, [] { benchmark::DoNotOptimize(renderByHand(serverProcess())); });
}

BENCHMARK(modelBuild)->Name("Model/Build");
BENCHMARK(handBuild)->Name("ByHand/Build");
BENCHMARK(modelRead)->Name("Model/ReadNumber");
BENCHMARK(handRead)->Name("ByHand/ReadNumber");
BENCHMARK(modelReadText)->Name("Model/ReadText");
BENCHMARK(handReadText)->Name("ByHand/ReadText");
BENCHMARK(modelRender)->Name("Model/RenderLevel0");
BENCHMARK(handRender)->Name("ByHand/RenderLevel0");

std::string textOf(const Object::Ptr& object)
{
    std::ostringstream text;
    object->stringify(text);
    return text.str();
}

bool bothRenderTheSame()
{
    const auto parent = buildByModel(initProcess(), nullptr);
    const auto element = buildByModel(serverProcess(), parent.get());
    const std::string model = textOf(element->toJSON(0));
    const std::string hand = textOf(renderByHand(serverProcess()));
    if (model != hand)
        std::cerr << model << "\nis not\n" << hand << std::endl;
    return model == hand;
}

} // namespace

} // namespace Zovi::Benchmark

int main(int argc, char** argv)
{
    if (!Zovi::Benchmark::bothRenderTheSame())
        return EXIT_FAILURE;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
