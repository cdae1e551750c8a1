// What only the real service can show: its WebSocket, its notes, its end and its return.

import assert from "node:assert/strict";
import { after, afterEach, before, test } from "node:test";

import { cardOf, hashOf, launchBrowser, openPage, settled, startHost, tableOf } from "./support.js";

let browser, host, page;

before(async () => {
    browser = await launchBrowser();
});

after(() => browser?.close());

async function open(hash) {
    host = await startHost(["--database", ":memory:"]);
    page = await openPage(browser, host.origin, hash);
}

afterEach(async () => {
    await page?.finish();
    assert.equal(await host?.stop(), 0);
    page = host = undefined;
});

const connection = (text) =>
    page.waitForFunction((wanted) => document.querySelector("#connection-text").textContent.includes(wanted), text);

async function write(method, path, data) {
    const answer = await page.request.fetch(host.origin + path, { method, data });
    assert.ok(answer.ok(), await answer.text());
    return answer;
}

test("follows notes that others write", async () => {
    await open("#live:/host/notes");
    await connection("Live");
    const { location } = (await write("POST", "/host/notes", { name: "milk" })).headers();
    await page.waitForSelector("tr.added >> text=milk");
    await write("PUT", location, { name: "milk", text: "two bottles" });
    await page.waitForSelector("td.changed >> text=two bottles");
    await write("DELETE", location);
    await page.waitForSelector("text=There is nothing here yet");
    await connection("1 gone");
});

test("says that a note which it follows is gone", async () => {
    await open("#/host/notes");
    const { location } = (await write("POST", "/host/notes", { name: "milk" })).headers();
    await page.fill("#url", location);
    await page.press("#url", "Enter");
    await page.waitForSelector(".card");
    await page.click("#live");
    await connection("Live");
    await write("DELETE", location);
    await connection("(410)");
});

test("comes back by itself when the service does", async () => {
    await open("#live:/host/notes");
    await connection("Live");
    await host.stop();
    await connection("Connection lost");
    host = await startHost(["--database", ":memory:", "--port", host.port]);
    await connection("Live");
    await write("POST", "/host/notes", { name: "after the return" });
    await page.waitForSelector("tr.added >> text=after the return");
});

test("follows what changes by itself", async () => {
    await open("");
    await page.fill("#url", `/host/processes?pid=${host.pid}&$fields=cpuTime,pid`);
    await page.press("#url", "Enter");
    await page.waitForSelector("tbody tr:only-child");
    await page.click("#live");
    await connection("Live");
    // The service computes while it is asked, until it shows.
    let isDone = false;
    const asking = (async () => {
        while (!isDone)
            await page.request.get(host.origin + "/host/processes?$limit=100");
    })();
    await page.waitForSelector("td.changed");
    isDone = true;
    await asking;
    assert.equal((await tableOf(page))[0].length, 3);
});

test("writes notes: create, edit, delete, and what goes wrong in between", async () => {
    await open("#/host/notes");
    assert.match(await page.textContent(".empty"), /There is nothing here yet/);
    await page.click("#new");
    const dialog = page.locator("#dialog");
    await dialog.getByText("Create").click();
    await page.waitForSelector("#dialog-fault:not(:empty)");
    assert.match(await page.textContent("#dialog-fault"), /name/);
    assert.ok(await dialog.locator("[aria-invalid=true]").evaluate((node) => node === document.activeElement));
    await page.keyboard.type("Milk & <b>honey</b>");
    await dialog.getByLabel("text").fill("two bottles\nof each");
    await dialog.getByLabel("pinned").check();
    await dialog.getByText("Create").click();
    await page.waitForSelector(".card");
    const card = await cardOf(page);
    assert.equal(card.name, "Milk & <b>honey</b>");
    assert.equal(card.text, "two bottles\nof each");
    assert.equal(card.pinned, "true");
    assert.match(card.created, /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d$/);

    await page.click("#edit");
    await dialog.getByLabel("name").fill("Milk");
    await dialog.getByText("Save").click();
    await page.waitForSelector("h1:text-is('Milk')");
    assert.equal((await cardOf(page)).text, "two bottles\nof each");

    await page.click("#delete");
    await page.click("#dialog button[type=submit]");
    await page.waitForSelector(".empty");
    assert.equal(hashOf(page), "#/host/notes");
});

test("says in editing that the note has gone meanwhile", async () => {
    await open("#/host/notes");
    const { location } = (await write("POST", "/host/notes", { name: "milk" })).headers();
    await page.click("#refresh");
    await page.click("tbody th a");
    await page.waitForSelector(".card");
    await page.click("#edit");
    await page.waitForSelector("#dialog[open]");
    await write("DELETE", location);
    await page.locator("#dialog").getByText("Save").click();
    await page.waitForSelector("#dialog-fault:not(:empty)");
    assert.match(await page.textContent("#dialog-fault"), /has no element/);
    await page.keyboard.press("Escape");
    await settled(page);
});
