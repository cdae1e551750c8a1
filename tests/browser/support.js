// What the tests stand on: the real program, the real browser, and a made-up service for what the real one
// cannot be brought to say.

import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { createInterface } from "node:readline";
import { chromium } from "playwright-core";

const PAGE = "/cdn/explorer/index.html";

const CHROMIUM = {
    executablePath: process.env.KYR_CHROMIUM ?? "/usr/bin/chromium",
    args: [
        "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
        "--disable-component-update", "--disable-sync",
    ],
};

export function launchBrowser() {
    return chromium.launch(CHROMIUM);
}

/** The host service in a process of its own: {origin, port, pid, stop()}. */
export async function startHost(options = []) {
    const program = process.env.KYR_HOST_PROGRAM;
    assert.ok(program, "KYR_HOST_PROGRAM must name the program; scripts/test-browser does that");
    const child = spawn(program, ["--port", "0", ...options], { stdio: ["ignore", "pipe", "inherit"] });
    const ended = new Promise((resolve) => child.once("exit", resolve));
    for await (const line of createInterface({ input: child.stdout })) {
        const match = /listens on (\S+:(\d+))\. Try:/.exec(line);
        if (!match)
            continue;
        child.stdout.resume();
        const stop = async (signal = "SIGTERM") => {
            child.kill(signal);
            return ended;
        };
        return { origin: `http://${match[1]}`, port: match[2], pid: child.pid, stop };
    }
    throw new Error("the host service has not started");
}

/**
 * A page that shows `hash`. What it complains of ends the test, except for answers that are errors, which the
 * browser reports as well as the page.
 */
export async function openPage(browser, origin, hash = "", options = {}) {
    const { route = async () => {}, ...contextOptions } = options;
    const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, ...contextOptions });
    context.setDefaultTimeout(20_000);
    const page = await context.newPage();
    const complaints = [];
    page.on("pageerror", (error) => complaints.push(error.stack));
    page.on("console", (message) => {
        if (["error", "warning"].includes(message.type()) && !/Failed to load resource|WebSocket connection to/.test(message.text()))
            complaints.push(message.text());
    });
    await page.addInitScript(() => {
        addEventListener("securitypolicyviolation", (event) => console.error(`forbidden by ${event.violatedDirective}`));
    });
    await route(page);
    await page.goto(origin + PAGE + hash);
    await settled(page);
    page.finish = async () => {
        await context.close();
        assert.deepEqual(complaints, []);
    };
    return page;
}

/** Waits until nothing is being loaded any more. */
export async function settled(page) {
    await page.waitForSelector("body:has(#view:not([aria-busy]) > *), #failure:not([hidden])");
    await page.waitForSelector("#services > li", { state: "attached" });
}

export function hashOf(page) {
    return decodeURIComponent(new URL(page.url()).hash);
}

/** The texts of the cells of each row. */
export function tableOf(page) {
    return page.$$eval("#view tbody tr", (rows) =>
        rows.map((row) => [...row.children].map((cell) => cell.textContent.replace(/\u00A0/g, " "))));
}

/** What a card says: attribute and value, the descriptions left out. */
export function cardOf(page) {
    return page.$$eval("#view .card > div", (parts) => Object.fromEntries(parts.map((part) =>
        [part.querySelector("dt").firstChild.textContent, part.querySelector("dd").innerText.replace(/\u00A0/g, " ")])));
}

const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

/** What stands in the way of somebody who cannot see or point well, as axe finds it. */
export async function accessibilityFaultsOf(page) {
    await page.evaluate(AXE);
    // It takes no stand on colours in front of a gradient, and the shade at the edge of a table is one.
    await page.$$eval(".scroller", (nodes) => nodes.forEach((node) => {
        node.style.backgroundImage = "none";
    }));
    const { violations } = await page.evaluate(() => window.axe.run());
    return violations.flatMap(({ id, nodes }) => nodes.map((node) => `${id}: ${node.html}: ${node.failureSummary}`));
}

// ---- a made-up service --------------------------------------------------------------------------------------

export const FRUIT = Array.from({ length: 7 }, (_, index) => {
    const id = `00000000-0000-0000-0000-00000000000${index}`;
    return {
        id, name: `fruit ${index}`, uri: `/shop/fruit/${id}`, weight: 100 * index, size: 5_000_000 * index,
        picked: Date.UTC(2026, 0, 1 + index, 12), ripening: 90_061_000 * index, colours: ["red", "green", "blue"],
    };
});

const SPECIFICATION = {
    name: "fruit",
    description: "All that is ripe.",
    attributes: {
        id: { type: "uuid", description: "Its id." },
        name: { type: "string", description: "What it is called." },
        uri: { type: "string", description: "Its address." },
        weight: { type: "integer", unit: "g", description: "How heavy it is." },
        size: { type: "integer", unit: "bytes", description: "The size of its picture." },
        picked: { type: "time", description: "When it was picked.", readOnly: true },
        ripening: { type: "integer", unit: "ms", description: "How long it took.", optional: true, readOnly: true },
        colours: { type: "array of string", description: "From which side.", optional: true, readOnly: true },
        remarks: { type: "text", description: "What else there is to say.", optional: true },
    },
};

const RIGHTS = {
    "/shop": ["GET", "HEAD"],
    "/shop/fruit": ["GET", "HEAD", "POST"],
    "/shop/fruit/<id>": ["GET", "HEAD", "PUT", "DELETE"],
};

function pageOf(rows, parameters) {
    const limit = Number(parameters.get("$limit") ?? 25);
    const offset = Number(parameters.get("$offset") ?? 0);
    const start = limit < 0 ? Math.max(0, (offset < 0 ? offset + rows.length : offset) + 1 + limit) : offset;
    const end = limit < 0 ? (offset < 0 ? offset + rows.length : offset) + 1 : offset + limit;
    const data = rows.slice(start, end);
    const isPaged = parameters.has("$limit") || parameters.has("$offset");
    return isPaged ? { data, paging: { offset: start, limit, total: rows.length } } : { data };
}

/**
 * The service "shop" beside the real one: pages through `fruit`, and takes writes, which it keeps in `writes`
 * and answers with `refusal` if there is one.
 */
export async function routeShop(page, { fruit = FRUIT, refusal = null, writes = [] } = {}) {
    const answer = (route, status, document, headers = {}) => route.fulfill({
        status, headers, contentType: "application/json; charset=utf-8",
        body: JSON.stringify({ status: status < 400 ? "ok" : "error", ...document }),
    });
    await page.route((url) => url.pathname === "/shop" || url.pathname.startsWith("/shop/"), (route) => {
        const request = route.request();
        const url = new URL(request.url());
        if (request.method() !== "GET") {
            writes.push({ method: request.method(), path: url.pathname, body: request.postDataJSON() });
            if (refusal)
                return answer(route, 400, { code: 400, message: refusal });
            const headers = request.method() === "POST" ? { Location: FRUIT[1].uri } : {};
            return answer(route, request.method() === "POST" ? 201 : 200, {}, headers);
        }
        const element = fruit.find(({ uri }) => uri === url.pathname);
        if (element)
            return answer(route, 200, { data: element, timestamp: 1 });
        switch (url.pathname) {
        case "/shop": return answer(route, 200, { data: { name: "shop", uri: "/shop", resources: [{ name: "fruit", uri: "/shop/fruit" }] } });
        case "/shop/accessrights": return answer(route, 200, { data: RIGHTS });
        case "/shop/fruit/spec": return answer(route, 200, { data: SPECIFICATION });
        case "/shop/fruit": return answer(route, 200, { ...pageOf(fruit, url.searchParams), timestamp: 1 });
        default: return answer(route, 404, { code: 404, message: `'${url.pathname}' is not there` });
        }
    });
}

// ---- a made-up WebSocket ------------------------------------------------------------------------------------

/** Takes the place of the service's WebSocket: `next()` gives each subscription as it is asked for. */
export async function routeLive(page) {
    const arrived = [];
    const waiting = [];
    await page.routeWebSocket(() => true, (socket) => {
        socket.onMessage((text) => {
            const request = JSON.parse(text);
            const send = (message) => socket.send(JSON.stringify({ event: request.event, ...message }));
            const subscription = {
                request,
                send,
                acknowledge: () => send({ type: "subscribe", status: "ok" }),
                update: (data, more = {}) => send({ type: "data", status: "ok", data, timestamp: 1, ...more }),
                lose: () => socket.close({ code: 1001 }),
            };
            const resolve = waiting.shift();
            if (resolve)
                resolve(subscription);
            else
                arrived.push(subscription);
        });
    });
    return {
        next: async () => arrived.shift() ?? new Promise((resolve) => waiting.push(resolve)),
        count: () => arrived.length,
    };
}
