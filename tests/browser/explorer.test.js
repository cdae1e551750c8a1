import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { after, afterEach, before, test } from "node:test";

import { FRUIT, cardOf, hashOf, launchBrowser, openPage, routeShop, settled, startHost, tableOf } from "./support.js";

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
    for (const name of ["/", "host", "processes", "interfaces", "filesystems"])
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
