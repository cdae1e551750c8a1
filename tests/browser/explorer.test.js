import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { after, afterEach, before, test } from "node:test";

import {
    FRUIT, accessibilityFaultsOf, cardOf, hashOf, launchBrowser, openPage, routeLive, routeShop, settled, startHost, tableOf,
} from "./support.js";

let browser, host;
const pages = [];

before(async () => {
    [browser, host] = await Promise.all([launchBrowser(), startHost()]);
});

after(async () => {
    await browser?.close();
    assert.equal(await host?.stop(), 0);
});

afterEach(async () => {
    for (const page of pages.splice(0))
        await page.finish();
});

async function open(hash, options) {
    const page = await openPage(browser, host.origin, hash, options);
    pages.push(page);
    return page;
}

const openShop = (hash, shop = {}, options = {}) => open(hash, { ...options, route: (page) => routeShop(page, shop) });

// ---- the way through the tree -------------------------------------------------------------------------------

test("walks from the root to an element and along a reference", async () => {
    const page = await open();
    await page.click("#view >> text=host");
    await page.click("#view >> text=processes");
    await page.waitForSelector("h1:text-is('processes')");
    await settled(page);
    await page.fill("#url", `/host/processes?pid=${host.pid}`);
    await page.click("#address button[type=submit]");
    await page.click("#view tbody tr:only-child th a");
    await page.waitForSelector(".card");
    assert.equal((await cardOf(page)).pid, String(host.pid));
    assert.deepEqual(await page.$$eval("#crumbs li", (items) => items.map((item) => item.textContent)),
        ["Services", "host", "processes", "kyr-host"]);
    await page.click(".card .reference a");
    await page.waitForFunction((pid) => document.querySelector(".card")?.textContent.includes(pid), String(process.pid));
    assert.equal((await cardOf(page)).pid, String(process.pid));
});

test("opens a reference in place, and what it leads to in turn", async () => {
    const page = await open(`#/host/processes?pid=${host.pid}`);
    const asked = page.waitForRequest((request) => request.url().endsWith("?$fields=parent&$expand=parent"));
    await page.click("[aria-label^='Open parent']");
    await asked;
    const nested = page.locator("#view .nested").first();
    assert.match(await nested.textContent(), new RegExp(`pid${process.pid}`));
    assert.equal(await page.getAttribute("tbody .disclose >> nth=0", "aria-expanded"), "true");
    assert.equal(hashOf(page), `#/host/processes?pid=${host.pid}`);
    await nested.locator(".disclose").first().click();
    await page.waitForSelector("#view .nested .nested");
    assert.match(await page.textContent("#view .nested .nested"), new RegExp(`pid${process.ppid}`));
    await page.click("tbody .disclose >> nth=0");
    assert.equal(await page.locator("#view .nested").count(), 0);
});

test("shows the tree beside, with the place that one is at", async () => {
    const page = await open("#/host/interfaces");
    const links = await page.$$eval("#tree a", (all) => all.map((link) => link.textContent));
    for (const name of ["All services", "host", "processes", "interfaces", "filesystems"])
        assert.ok(links.includes(name), name);
    assert.equal(await page.textContent("#tree a[aria-current=page]"), "interfaces");
    await page.click("#tree >> text=filesystems");
    await page.waitForSelector("#tree a[aria-current=page] >> text=filesystems");
    assert.equal(hashOf(page), "#/host/filesystems");
});

test("shows what stands beside a service: its specification, its rights and its id", async () => {
    const page = await open("#/host");
    await page.click("#description >> text=accessrights");
    await settled(page);
    assert.match((await cardOf(page))["/host/processes"], /GET/);
});

// ---- queries ------------------------------------------------------------------------------------------------

/** What each part of the form makes of the address, and the other way round. */
const QUERIES = [
    { address: "?$q=%25ssh%25", label: "Any text", value: "%ssh%" },
    { address: "?$limit=10", label: "Page size", value: "10" },
    { address: "?$offset=-5", label: "Anchor", value: "-5" },
    { address: "?$expand=2", label: "References", value: "2" },
    { address: "?$fields=weight", check: ["weight"] },
    { address: "?$fields=weight,colours($offset:1,$limit:2)", check: ["weight", "colours"],
        label: ["colours: from which entry", "colours: how many entries"], value: ["1", "2"] },
    { address: "?weight=100,200", add: "Add an attribute", label: ["Attribute", "Value"], value: ["weight", "100,200"] },
    { address: "?name=a%26b%3Dc%2Bd%20%27", add: "Add an attribute", label: ["Attribute", "Value"], value: ["name", "a&b=c+d '"] },
    { address: "?$sortby=weight", add: "Add a sort key", label: ["Attribute", "Order"], value: ["weight", ""] },
    { address: "?$sortby=-weight", add: "Add a sort key", label: ["Attribute", "Order"], value: ["weight", "-"] },
];

const listOf = (value) => (value === undefined ? [] : [value].flat());

async function fill(control, value) {
    if (await control.evaluate((node) => node.tagName) === "SELECT")
        await control.selectOption(value);
    else
        await control.fill(value);
}

test("builds each part of a query by form", async () => {
    const page = await openShop("#/shop/fruit");
    await page.click("#ask-by-form");
    for (const { address, add, label, value, check } of QUERIES) {
        await page.fill("#url", "/shop/fruit");
        for (const name of listOf(check))
            await page.check(`#query label:text-is("${name}") input`);
        if (add)
            await page.click(`text=${add}`);
        for (const [index, name] of listOf(label).entries())
            await fill(page.locator("#query").getByLabel(name, { exact: true }), listOf(value)[index]);
        assert.equal(await page.inputValue("#url"), "/shop/fruit" + address);
        assert.equal(await page.textContent("#curl"), `curl -s '${host.origin}/shop/fruit${address}'`);
    }
});

test("shows each part of a query in the form when it is written by hand", async () => {
    const page = await openShop("#/shop/fruit");
    await page.click("#ask-by-form");
    for (const { address, label, value, check } of QUERIES) {
        await page.fill("#url", "/shop/fruit" + address);
        for (const name of listOf(check))
            assert.ok(await page.isChecked(`#query label:text-is("${name}") input`), `${address}: ${name}`);
        for (const [index, name] of listOf(label).entries()) {
            const control = page.locator("#query").getByLabel(name, { exact: true });
            assert.equal(await control.inputValue(), listOf(value)[index], address);
        }
    }
});

test("asks what the form has built", async () => {
    const page = await openShop("#/shop/fruit");
    await page.click("#ask-by-form");
    await page.locator("#query").getByLabel("Any text").fill("%a b%");
    const asked = page.waitForRequest(`${host.origin}/shop/fruit?$q=%25a%20b%25`);
    await page.keyboard.press("Enter");
    await asked;
});

test("takes several sort keys and searches, and gives them up again", async () => {
    const page = await openShop("#/shop/fruit?$limit=3&weight=100");
    await page.click("#ask-by-form");
    await page.click("text=Add a sort key");
    await page.keyboard.type("weight");
    await page.click("text=Add a sort key");
    await page.keyboard.type("name");
    await page.click("text=Add an attribute");
    await page.keyboard.type("name");
    assert.equal(await page.inputValue("#url"), "/shop/fruit?weight=100&$sortby=weight,name&$limit=3");
    await page.keyboard.press("Tab");
    await page.keyboard.type("x");
    assert.equal(await page.inputValue("#url"), "/shop/fruit?weight=100&name=x&$sortby=weight,name&$limit=3");
    await page.click("[aria-label='Remove this sort key'] >> nth=0");
    await page.click("[aria-label='Remove this search'] >> nth=0");
    assert.equal(await page.inputValue("#url"), "/shop/fruit?name=x&$sortby=name&$limit=3");
    await page.click("text=Clear");
    await page.waitForFunction(() => document.querySelector("#url").value === "/shop/fruit");
});

test("keeps what the form does not know", async () => {
    const page = await openShop("#/shop/fruit?$q=a&$q=b&$new=1");
    await page.click("#ask-by-form");
    await page.locator("#query").getByLabel("Page size").fill("5");
    assert.equal(await page.inputValue("#url"), "/shop/fruit?$new=1&$q=a&$limit=5&$q=b");
});

test("encodes what was written by hand, and no more", async () => {
    const page = await open("#/");
    const rows = [
        ["/host?$q=%ssh%", "/host?$q=%25ssh%25"],
        ["/host?a=1 2&b='", "/host?a=1%202&b=%27"],
        ["/host?a=%20%2B+", "/host?a=%20%2B+"],
        ["/host?a=ä\u{1F600}[]{}\"<>|^`\\#", "/host?a=%C3%A4%F0%9F%98%80%5B%5D%7B%7D%22%3C%3E%7C%5E%60%5C%23"],
        ["/host?$fields=a($offset:0,$limit:1)", "/host?$fields=a($offset:0,$limit:1)"],
        ["  /host  ", "/host"],
        ["host", "/host"],
        ["//elsewhere.example/x", "/elsewhere.example/x"],
        ["/host/../../x", "/x"],
        ["/..//elsewhere.example", "/elsewhere.example"],
        [host.origin + "/host?a=b", "/host?a=b"],
        ["https://elsewhere.example/x", "/https://elsewhere.example/x"],
        ["", "/"],
    ];
    const repaired = await page.evaluate(async ([texts, origin]) => {
        const { repair } = await import("./query.js");
        return texts.map((text) => repair(text, origin));
    }, [rows.map(([text]) => text), host.origin]);
    assert.deepEqual(repaired, rows.map(([, address]) => address));
});

test("asks the very address that it shows", async () => {
    const page = await open("#/host/processes");
    await page.fill("#url", "/host/processes?name=%kyr%&$fields=name,pid&a='");
    const asked = page.waitForRequest((request) => request.url().includes("kyr"));
    await page.press("#url", "Enter");
    const shown = (await page.textContent("#curl")).match(/'(.*)'/)[1];
    assert.equal((await asked).url(), shown);
    assert.ok(shown.endsWith("?name=%25kyr%25&$fields=name,pid&a=%27"), shown);
});

test("gives a line for the shell that asks the same", async () => {
    const page = await open("#/", { permissions: ["clipboard-read", "clipboard-write"] });
    await page.fill("#url", "/host/interfaces?name=l%&$fields=mtu,addresses($offset:0,$limit:1)&$q=%,'\"$HOME`");
    await page.press("#url", "Enter");
    await page.waitForSelector("h1:text-is('interfaces')");
    await settled(page);
    await page.click("#copy");
    await page.waitForFunction(() => document.querySelector("#status").textContent === "Copied");
    const line = await page.evaluate(() => navigator.clipboard.readText());
    const answer = JSON.parse(execFileSync("sh", ["-c", line], { encoding: "utf8" }));
    const names = (await tableOf(page)).map(([name]) => name);
    assert.deepEqual(answer.data.map(({ name }) => name), names);
    assert.ok(names.includes("lo"));
});

// ---- tables, cards, documents, errors -----------------------------------------------------------------------

test("shows numbers with their units, times as times, and sizes readably", async () => {
    const page = await openShop("#/shop/fruit", {}, { timezoneId: "Asia/Tokyo" });
    const head = await page.$$eval("#view thead th", (cells) => cells.map((cell) => cell.innerText.trim()));
    const rows = await tableOf(page);
    const row = Object.fromEntries(head.map((name, index) => [name, rows[3][index]]));
    assert.deepEqual(row, {
        name: "fruit 3", weight: "300 g", size: "14.3 MiB", picked: "2026-01-04 21:00:00", ripening: "3 d 3 h",
        colours: "redgreenblue",
    });
    assert.equal(await page.getAttribute("#view tbody tr:nth-child(4) time", "datetime"), "2026-01-04T12:00:00.000Z");
});

test("sorts by a click on a heading, and within by one with Shift", async () => {
    const page = await openShop("#/shop/fruit?$limit=3&$offset=3");
    const heading = page.locator("thead th", { hasText: "weight" });
    await heading.locator("button").click();
    await page.waitForFunction(() => location.hash.includes("sortby"));
    assert.equal(hashOf(page), "#/shop/fruit?$sortby=weight&$limit=3");
    await page.waitForSelector("th[aria-sort=ascending] >> text=weight");
    await heading.locator("button").click();
    await page.waitForSelector("th[aria-sort=descending] >> text=weight");
    assert.equal(hashOf(page), "#/shop/fruit?$sortby=-weight&$limit=3");
    await page.locator("thead th", { hasText: "name" }).locator("button").click({ modifiers: ["Shift"] });
    await page.waitForFunction(() => location.hash.includes(",name"));
    assert.equal(hashOf(page), "#/shop/fruit?$sortby=-weight,name&$limit=3");
    await heading.locator("button").click({ modifiers: ["Shift"] });
    await page.waitForFunction(() => !location.hash.includes("weight"));
    assert.equal(hashOf(page), "#/shop/fruit?$sortby=name&$limit=3");
});

test("keeps the focus on the heading that was used", async () => {
    const page = await openShop("#/shop/fruit");
    await page.focus("[data-focus='sort weight']");
    await page.keyboard.press("Enter");
    await page.waitForSelector("th[aria-sort=ascending]");
    await settled(page);
    assert.equal(await page.evaluate(() => document.activeElement.dataset.focus), "sort weight");
});

test("sorts real elements", async () => {
    const page = await open("#/host/interfaces?$sortby=-name");
    const names = (await tableOf(page)).map(([name]) => name);
    assert.deepEqual(names, [...names].sort().reverse());
});

test("shows the document as it came", async () => {
    const page = await openShop(`#${FRUIT[2].uri}`);
    assert.ok(await page.isHidden("#document"));
    await page.click("#show-document");
    await page.waitForSelector("#document:not([hidden])");
    assert.deepEqual(JSON.parse(await page.textContent("#document-text")), { status: "ok", data: FRUIT[2], timestamp: 1 });
    assert.match(await page.textContent("#document-facts"), /^200 .*ms$/);
    assert.equal(hashOf(page), `#document:${FRUIT[2].uri}`);
});

test("shows an error as what it says", async () => {
    const page = await open("#/host/processes?$limit=abc");
    assert.equal(await page.textContent("#failure strong"), "400");
    assert.match(await page.textContent("#failure p"), /^parameter '\$limit' is 'abc', expected a number/);
    assert.equal(await page.getAttribute("#failure", "role"), "alert");
    assert.equal(await page.textContent("h1"), "processes");
    await page.click("#ask-by-form");
    await page.locator("#query").getByLabel("Page size").fill("3");
    await page.click("#query >> text=Ask");
    await page.waitForSelector("#failure", { state: "hidden" });
    assert.equal(await page.locator("tbody tr").count(), 3);
});

test("says when there is nothing at an address", async () => {
    const page = await open("#/nothing/at/all");
    assert.match(await page.textContent("#failure"), /404.*not an address/);
});

test("says when the service cannot be reached, and tries again", async () => {
    let isDown = true;
    const page = await open("#/host", {
        route: (page) => page.route("**/host", (route) => (isDown ? route.abort() : route.continue())),
    });
    assert.match(await page.textContent("#failure"), /No answer.*cannot be reached/);
    isDown = false;
    await page.click("text=Try again");
    await page.waitForSelector(".card");
});

test("says when a query matches nothing, and leads back", async () => {
    const page = await open("#/host/processes?name=no-such-thing");
    assert.match(await page.textContent(".empty"), /Nothing matches this query/);
    await page.click("text=Show all");
    await page.waitForSelector("tbody tr");
    assert.equal(hashOf(page), "#/host/processes");
});

test("takes nothing that a service says for markup", async () => {
    const evil = "<img src=x onerror=alert(1)><script>alert(2)</script>";
    const fruit = [{ ...FRUIT[0], name: evil, colours: [evil], [evil]: evil, uri: FRUIT[0].uri }];
    const page = await openShop("#document:/shop/fruit", { fruit });
    assert.equal((await tableOf(page))[0][0], evil);
    assert.equal(await page.locator("#view img, #view script, #document img").count(), 0);
    await page.click("#view tbody th a");
    await page.waitForSelector(".card");
    assert.equal((await cardOf(page))[evil], evil);
    assert.equal(await page.textContent("h1"), evil);
});

test("makes no link that leads elsewhere", async () => {
    const fruit = [{ ...FRUIT[0], uri: "javascript:alert(1)" }, { ...FRUIT[1], uri: "//elsewhere.example/x" }];
    const page = await openShop("#/shop/fruit", { fruit });
    const links = await page.$$eval("#view a", (all) => all.map((link) => link.href));
    for (const link of links)
        assert.ok(link.startsWith(host.origin + "/cdn/explorer/index.html#/"), link);
    assert.equal(links.length, 1);
});

// ---- pages --------------------------------------------------------------------------------------------------

test("turns the pages with the total in view", async () => {
    const page = await openShop("#/shop/fruit?$limit=3");
    const names = async () => (await tableOf(page)).map(([name]) => name.slice(-1)).join("");
    const turn = async (text, range) => {
        await page.click(`#pages >> text=${text}`);
        await page.waitForFunction((wanted) => document.querySelector("#pages .range").textContent === wanted, range);
    };
    assert.equal(await page.textContent("#pages .range"), "1\u20133 of 7");
    assert.equal(await names(), "012");
    await turn("Next", "4\u20136 of 7");
    assert.equal(await names(), "345");
    await turn("Last", "7 of 7");
    assert.equal(await names(), "6");
    await turn("Previous", "4\u20136 of 7");
    await turn("First", "1\u20133 of 7");
    assert.equal(hashOf(page), "#/shop/fruit?$limit=3&$offset=0");
    const disabled = await page.$$eval("#pages a[aria-disabled]", (links) => links.map((link) => link.textContent));
    assert.deepEqual(disabled, ["First", "Previous"]);
});

test("turns the pages of a list that runs backward", async () => {
    const page = await openShop("#/shop/fruit?$limit=-3&$offset=-1");
    const seen = [];
    for (;;) {
        seen.push((await tableOf(page)).map(([name]) => name.slice(-1)).join(""));
        const range = await page.textContent("#pages .range");
        if (await page.getAttribute("#pages >> text=Next", "aria-disabled"))
            break;
        await page.click("#pages >> text=Next");
        await page.waitForFunction((old) => document.querySelector("#pages .range").textContent !== old, range);
    }
    assert.deepEqual(seen, ["456", "123", "0"]);
});

test("works out where pages begin", async () => {
    const page = await open("#/");
    const none = { first: null, previous: null, next: null, last: null };
    const rows = [
        // forward
        [{ offset: 0, limit: 4, total: 10 }, 4, { ...none, next: 4, last: 8 }],
        [{ offset: 4, limit: 4, total: 10 }, 4, { first: 0, previous: 0, next: 8, last: 8 }],
        [{ offset: 8, limit: 4, total: 10 }, 2, { ...none, first: 0, previous: 4 }],
        [{ offset: 1, limit: 4, total: 10 }, 4, { first: 0, previous: 0, next: 5, last: 9 }],
        [{ offset: 0, limit: 4, total: 4 }, 4, none],
        [{ offset: 0, limit: 4, total: 8 }, 4, { ...none, next: 4, last: 4 }],
        // backward: a page is named by its last element
        [{ offset: 7, limit: -3, total: 10 }, 3, { ...none, next: 6, last: 0 }],
        [{ offset: 4, limit: -3, total: 10 }, 3, { first: -1, previous: 9, next: 3, last: 0 }],
        [{ offset: 0, limit: -3, total: 10 }, 1, { ...none, first: -1, previous: 3 }],
        // past the end, the total alone, no paging at all
        [{ offset: 0, limit: 4, total: 10 }, 0, { ...none, first: 0 }],
        [{ total: 10 }, 0, none],
        [undefined, 3, none],
    ];
    const found = await page.evaluate(async (inputs) => {
        const { pagesAround } = await import("./query.js");
        return inputs.map(([paging, count]) => pagesAround(paging, count));
    }, rows);
    assert.deepEqual(found, rows.map(([, , pages]) => pages));
});

test("changes the size of a page", async () => {
    const page = await openShop("#/shop/fruit?$limit=3&$offset=3&weight=1");
    await page.selectOption("#pages select", "50");
    await page.waitForFunction(() => location.hash.includes("50"));
    assert.equal(hashOf(page), "#/shop/fruit?weight=1&$limit=50");
});

test("shows a total that was asked for alone", async () => {
    const page = await open("#/host/filesystems?$limit=0");
    assert.match(await page.textContent(".empty"), /^\d+ in total/);
});

// ---- the address bar ----------------------------------------------------------------------------------------

test("keeps its place in the address bar, and goes back", async () => {
    const page = await open("#/host");
    await page.click("#tree >> text=interfaces");
    await page.waitForSelector("h1:text-is('interfaces')");
    await page.click("[data-focus='sort name']");
    await page.waitForSelector("th[aria-sort=ascending]");
    await page.goBack();
    await page.waitForFunction(() => document.querySelector("#url").value === "/host/interfaces");
    await page.waitForSelector("th:not([aria-sort]) >> text=name");
    await page.goBack();
    await page.waitForSelector("h1:text-is('host')");
    await page.goForward();
    await page.waitForSelector("h1:text-is('interfaces')");
});

test("shows a view that somebody else has shared", async () => {
    const first = await open("#/host/interfaces?$sortby=-name&$fields=mtu");
    await first.click("#show-document");
    await first.waitForSelector("#document:not([hidden])");
    const second = await openPage(browser, host.origin, new URL(first.url()).hash);
    pages.push(second);
    assert.equal(await second.inputValue("#url"), "/host/interfaces?$sortby=-name&$fields=mtu");
    assert.ok(await second.isVisible("#document"));
    assert.deepEqual(await tableOf(second), await tableOf(first));
});

// ---- loading ------------------------------------------------------------------------------------------------

test("loads in two round trips and from nowhere else", async () => {
    const page = await open("#/");
    const html = await (await page.request.get(host.origin + "/cdn/explorer/index.html")).text();
    const named = [...html.matchAll(/(?:src|href)="([^"#]+)"/g)].map(([, file]) => file);
    for (const script of named.filter((file) => file.endsWith(".js"))) {
        const text = await (await page.request.get(`${host.origin}/cdn/explorer/${script}`)).text();
        for (const [, imported] of text.matchAll(/from "\.\/([^"]+)"/g))
            assert.ok(named.includes(imported), `${imported} would be asked for only after ${script}`);
    }
    const loaded = await page.evaluate(() => performance.getEntriesByType("resource").map(({ name }) => name));
    for (const name of loaded)
        assert.ok(name.startsWith(host.origin + "/"), name);
});

// ---- live ---------------------------------------------------------------------------------------------------

async function openLive(hash, shop = {}, options = {}) {
    let live;
    const page = await open(hash, {
        ...options,
        route: async (page) => {
            await routeShop(page, shop);
            live = await routeLive(page);
        },
    });
    return { page, live };
}

const connection = (page, text) =>
    page.waitForFunction((wanted) => document.querySelector("#connection-text").textContent.includes(wanted), text);

test("follows a collection and marks what has changed", async () => {
    const { page, live } = await openLive("#/shop/fruit?$limit=3");
    await page.click("#live");
    const subscription = await live.next();
    assert.deepEqual(subscription.request, { type: "subscribe", event: "/shop/fruit?$limit=3", updatelimit: 1000 });
    assert.equal(hashOf(page), "#live:/shop/fruit?$limit=3");
    subscription.acknowledge();
    await connection(page, "Live");
    const paging = { offset: 0, limit: 3, total: 8 };
    subscription.update(FRUIT.slice(0, 3), { paging });
    await page.waitForFunction(() => document.querySelector(".range").textContent.endsWith("of 8"));
    assert.equal(await page.locator("#view .changed, #view .added").count(), 0);

    subscription.update([FRUIT[0], { ...FRUIT[1], weight: 111 }, FRUIT[5]], { paging });
    await connection(page, "1 changed, 1 new, 1 gone");
    assert.equal(await page.textContent("#view td.changed"), "111\u00A0g");
    assert.equal(await page.locator("#view .changed").count(), 1);
    assert.equal(await page.textContent("#view tr.added th"), "fruit 5");

    subscription.update([FRUIT[0], { ...FRUIT[1], weight: 111 }, FRUIT[5]], { paging, timestamp: 2 });
    await page.waitForSelector("#view .changed", { state: "detached" });
    assert.equal(await page.locator("#view .added").count(), 0);
});

test("follows an element and marks what has changed", async () => {
    const { page, live } = await openLive(`#live:${FRUIT[1].uri}`);
    const subscription = await live.next();
    subscription.acknowledge();
    subscription.update({ ...FRUIT[1], weight: 101 });
    await connection(page, "1 changed");
    assert.match(await page.textContent(".card .changed"), /^weight.*101.g/);
    assert.equal(await page.locator(".card .changed").count(), 1);
});

test("keeps the focus, the order and what is open while updates come", async () => {
    const parent = { id: FRUIT[6].id, name: "tree", uri: FRUIT[6].uri };
    const fruit = FRUIT.map((each) => ({ ...each, parent }));
    const { page, live } = await openLive("#live:/shop/fruit", { fruit });
    const subscription = await live.next();
    subscription.acknowledge();
    await page.click("[aria-label^='Open parent'] >> nth=1");
    await page.waitForSelector("tr.opened");
    await page.focus(`[data-focus='row ${FRUIT[2].uri}']`);
    subscription.update([fruit[2], fruit[1], { ...fruit[0], weight: 7 }]);
    await connection(page, "1 changed, 4 gone");
    assert.deepEqual((await tableOf(page)).map(([name]) => name.slice(0, 7)), ["fruit 2", "fruit 1", "The ser", "fruit 0"]);
    assert.equal(await page.evaluate(() => document.activeElement.dataset.focus), `row ${FRUIT[2].uri}`);
});

test("says that the connection is lost, and comes back by itself", async () => {
    const { page, live } = await openLive("#live:/shop/fruit");
    const first = await live.next();
    first.acknowledge();
    await connection(page, "Live");
    first.lose();
    await connection(page, "Connection lost. Trying again in 1 s.");
    assert.equal(await page.textContent("#status"), "Connection lost");
    assert.ok(await page.isVisible("#view.stale"));
    const second = await live.next();
    assert.deepEqual(second.request, first.request);
    second.acknowledge();
    await connection(page, "Live");
    assert.ok(await page.isHidden("#reconnect"));
    assert.equal(await page.locator("#view.stale").count(), 0);
});

test("tries again at once when it is told to", async () => {
    const { page, live } = await openLive("#live:/shop/fruit");
    // Time stands still, so that the next attempt is nobody's but the user's.
    await page.clock.install();
    (await live.next()).lose();
    await page.click("#reconnect");
    (await live.next()).acknowledge();
    await connection(page, "Live");
});

test("waits twice as long after each failure, up to half a minute", async () => {
    const page = await open("#/");
    const delays = await page.evaluate(async () => {
        const { delayAfter } = await import("./service.js");
        return [[1, 0.5], [2, 0.5], [3, 0.5], [50, 0.5], [1, 0], [1, 1]].map(([failures, random]) => delayAfter(failures, random));
    });
    assert.deepEqual(delays, [500, 1000, 2000, 30_000, 375, 625]);
});

test("says why the service does not let it follow, and leaves it at that", async () => {
    const { page, live } = await openLive(`#live:${FRUIT[1].uri}`);
    const subscription = await live.next();
    subscription.acknowledge();
    subscription.send({ type: "error", code: 410, message: "element has gone" });
    await connection(page, "Not live any more: element has gone (410)");
    assert.ok(await page.isHidden("#reconnect"));
    assert.equal(live.count(), 0);
});

test("follows what is shown, and nothing any more when it is told so", async () => {
    const { page, live } = await openLive("#live:/shop/fruit?$limit=3");
    (await live.next()).acknowledge();
    await page.click("#pages >> text=Next");
    const second = await live.next();
    assert.equal(second.request.event, "/shop/fruit?$limit=3&$offset=3");
    await page.click("#live");
    await page.waitForSelector("#connection", { state: "hidden" });
    assert.equal(await page.getAttribute("#live", "aria-pressed"), "false");
    assert.equal(hashOf(page), "#/shop/fruit?$limit=3&$offset=3");
});

// ---- writing ------------------------------------------------------------------------------------------------

test("offers to write only where the service allows it", async () => {
    const page = await openShop("#/shop/fruit");
    assert.ok(await page.isVisible("#new"));
    assert.ok(await page.isHidden("#edit"));
    await page.click("#view tbody th a");
    await page.waitForSelector(".card");
    assert.ok(await page.isHidden("#new"));
    assert.ok(await page.isVisible("#edit"));
    assert.ok(await page.isVisible("#delete"));
    await page.click("#tree >> text=processes");
    await page.waitForSelector("h1:text-is('processes')");
    for (const id of ["#new", "#edit", "#delete"])
        assert.ok(await page.isHidden(id), id);
});

test("creates an element and goes to it", async () => {
    const writes = [];
    const page = await openShop("#/shop/fruit", { writes });
    await page.click("#new");
    const dialog = page.locator("#dialog");
    assert.deepEqual(await dialog.locator("label").allTextContents(), ["name", "weight", "size", "remarks (optional)"]);
    await page.keyboard.type("plum");
    await dialog.getByLabel("weight").fill("12.5");
    await dialog.getByLabel("size").fill("1000");
    await dialog.getByLabel("remarks").fill("blue\nand sweet");
    await dialog.getByText("Create").click();
    await page.waitForSelector(".card");
    assert.deepEqual(writes, [{
        method: "POST", path: "/shop/fruit", body: { name: "plum", weight: 12.5, size: 1000, remarks: "blue\nand sweet" },
    }]);
    assert.equal(hashOf(page), "#" + FRUIT[1].uri);
});

test("leaves out what is optional and empty", async () => {
    const writes = [];
    const page = await openShop("#/shop/fruit", { writes });
    await page.click("#new");
    await page.locator("#dialog").getByText("Create").click();
    await page.waitForSelector(".card");
    assert.deepEqual(writes[0].body, { name: "" });
});

test("shows the error of the service at the field that it is about", async () => {
    const writes = [];
    const page = await openShop("#/shop/fruit", { writes, refusal: "'weight' must not be negative" });
    await page.click("#new");
    await page.locator("#dialog").getByLabel("weight").fill("-1");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#dialog-fault:not(:empty)");
    assert.equal(await page.textContent("#dialog-fault"), "'weight' must not be negative");
    const field = page.locator("#dialog [aria-invalid=true]");
    assert.equal(await field.inputValue(), "-1");
    assert.ok(await field.evaluate((node) => node === document.activeElement));
    assert.match(await field.getAttribute("aria-describedby"), /^dialog-fault /);
    assert.equal(await page.getAttribute("#dialog-fault", "role"), "alert");
    assert.equal(await field.evaluate((node) => node.nextElementSibling.id), "dialog-fault");
    await page.keyboard.press("Enter");
    await page.waitForFunction(() => document.querySelector("#dialog-fault").textContent !== "");
    assert.equal(writes.length, 2);
});

test("edits an element, beginning with what it is", async () => {
    const writes = [];
    const page = await openShop("#" + FRUIT[2].uri, { writes });
    await page.click("#edit");
    const dialog = page.locator("#dialog");
    assert.equal(await dialog.getByLabel("name").inputValue(), "fruit 2");
    await dialog.getByLabel("weight").fill("1");
    await dialog.getByText("Save").click();
    await page.waitForSelector("#dialog", { state: "hidden" });
    assert.deepEqual(writes, [{ method: "PUT", path: FRUIT[2].uri, body: { name: "fruit 2", weight: 1, size: 10_000_000 } }]);
});

test("deletes an element, but not without a question", async () => {
    const writes = [];
    const page = await openShop("#" + FRUIT[2].uri, { writes });
    await page.click("#delete");
    assert.match(await page.textContent("#dialog h2"), /Delete .fruit 2.\?/);
    await page.locator("#dialog").getByText("Cancel").click();
    assert.deepEqual(writes, []);
    await page.click("#delete");
    await page.locator("#dialog button[type=submit]").click();
    await page.waitForSelector("tbody tr");
    assert.deepEqual(writes, [{ method: "DELETE", path: FRUIT[2].uri, body: null }]);
    assert.equal(hashOf(page), "#/shop/fruit");
});

// ---- for everybody ------------------------------------------------------------------------------------------

/** Presses Tab until the focus is on what `selector` finds. */
async function tabTo(page, selector) {
    for (let presses = 0; presses < 80; presses += 1) {
        await page.keyboard.press("Tab");
        if (await page.evaluate((wanted) => document.activeElement.matches(wanted), selector))
            return;
    }
    assert.fail(`Tab does not reach ${selector}`);
}

test("can be walked by keyboard alone", async () => {
    const page = await openShop("#/");
    await page.keyboard.press("Tab");
    assert.equal(await page.evaluate(() => document.activeElement.id), "skip");
    await page.keyboard.press("Enter");
    await tabTo(page, "#view tbody a");
    await page.keyboard.press("Enter");
    await page.waitForSelector("h1:text-is('host')");
    assert.equal(await page.evaluate(() => document.activeElement.id), "title");
    await tabTo(page, "#view a[href$='/host/interfaces']");
    await page.keyboard.press("Enter");
    await page.waitForSelector("h1:text-is('interfaces')");
    await tabTo(page, "[data-focus='sort name']");
    await page.keyboard.press("Enter");
    await page.waitForSelector("th[aria-sort=ascending]");
    await page.keyboard.press("Shift+Enter");
    await page.waitForSelector("th[aria-sort=descending]");
    await tabTo(page, "#view tbody th a");
    await page.keyboard.press("Enter");
    await page.waitForSelector(".card");
});

test("writes by keyboard alone, and gives the focus back", async () => {
    const page = await openShop("#/shop/fruit");
    await tabTo(page, "#new");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#dialog[open]");
    assert.ok(await page.evaluate(() => document.activeElement.matches("#dialog input")));
    await page.keyboard.press("Escape");
    await page.waitForSelector("#dialog", { state: "hidden" });
    assert.equal(await page.evaluate(() => document.activeElement.id), "new");
});

test("tells a screen reader where it is and what has happened", async () => {
    const page = await openShop("#/shop/fruit?$limit=3");
    assert.equal(await page.textContent("caption"), "fruit: 1\u20133 of 7");
    assert.equal(await page.textContent("#status"), "fruit: 1\u20133 of 7");
    assert.equal(await page.title(), "fruit \u2013 Explorer");
    assert.equal(await page.getAttribute("#status", "role"), "status");
    for (const landmark of ["banner", "main", "navigation", "form"])
        assert.ok(await page.getByRole(landmark).count() > 0, landmark);
    await page.click("#view tbody th a");
    await page.waitForSelector(".card");
    await page.waitForFunction(() => document.activeElement.id === "title");
    assert.equal(await page.title(), "fruit 0 \u2013 Explorer");
});

/** What there is to look at, each with what brings it up. */
const VIEWS = [
    ["tree", "#/host"],
    ["table", "#/shop/fruit?$limit=3&$sortby=-weight,name"],
    ["form", "#/shop/fruit?$fields=name,colours($offset:0,$limit:1)&weight=1&$sortby=name", (page) => page.click("#ask-by-form")],
    ["card and document", `#document:${FRUIT[1].uri}`],
    ["reference opened in place", "#/host/processes?$limit=3&state=sleeping", (page) =>
        page.click("[aria-label^='Open parent'] >> nth=0").then(() => page.waitForSelector("tr.opened"))],
    ["error", "#/host/processes?$limit=abc"],
    ["nothing", "#/host/processes?name=nothing"],
    ["editing", "#/shop/fruit", (page) => page.click("#new")],
    ["error in editing", "#/shop/fruit", async (page) => {
        await page.click("#new");
        await page.click("#dialog button[type=submit]");
        await page.waitForSelector("#dialog-fault:not(:empty)");
    }],
    ["live", "#live:/shop/fruit", async (page, live) => {
        const subscription = await live.next();
        subscription.acknowledge();
        subscription.update([{ ...FRUIT[0], weight: 5 }, FRUIT[1], { ...FRUIT[2], id: "new" }]);
        await connection(page, "1 changed");
    }],
    ["lost", "#live:/shop/fruit", async (page, live) => {
        await page.clock.install();
        (await live.next()).lose();
        await connection(page, "Connection lost");
    }],
];

const KINDS = [
    ["wide and light", { colorScheme: "light", viewport: { width: 1280, height: 900 } }],
    ["narrow and dark", { colorScheme: "dark", viewport: { width: 360, height: 740 } }],
];

for (const [kind, options] of KINDS) {
    for (const [name, hash, act = async () => {}] of VIEWS) {
        test(`is accessible and fits: ${name}, ${kind}`, async () => {
            const { page, live } = await openLive(hash, { refusal: "'weight' is missing" }, { ...options, reducedMotion: "reduce" });
            await act(page, live);
            assert.deepEqual(await accessibilityFaultsOf(page), []);
            const [content, window] = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
            assert.ok(content <= window, `the page is ${content} wide in a window of ${window}`);
            if (process.env.KYR_SCREENSHOTS)
                await page.screenshot({ path: `${process.env.KYR_SCREENSHOTS}/${name}, ${kind}.png` });
        });
    }
}

test("opens and closes the tree on a phone", async () => {
    const page = await open("#/host", { viewport: { width: 360, height: 740 } });
    assert.ok(await page.isHidden("#tree"));
    await page.click("#menu");
    assert.ok(await page.isVisible("#tree"));
    assert.equal(await page.getAttribute("#menu", "aria-expanded"), "true");
    await page.click("#tree >> text=interfaces");
    await page.waitForSelector("h1:text-is('interfaces')");
    assert.ok(await page.isHidden("#tree"));
});

test("does not move where movement is not wanted", async () => {
    const page = await open("#/host", { reducedMotion: "reduce" });
    const durations = await page.evaluate(() => [...document.querySelectorAll("*")].map((node) => getComputedStyle(node).animationName));
    assert.deepEqual([...new Set(durations)], ["none"]);
});
