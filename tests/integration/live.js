// Follows the host service by a client that was not made for it: ws of npm, as Debian's node-ws brings it.
//
// Usage: node live.js PROGRAM      (the host service; NODE_PATH tells where ws is)

"use strict";

const assert = require("node:assert/strict");
const { spawn } = require("node:child_process");
const { once, on } = require("node:events");
const readline = require("node:readline");
const WebSocket = require("ws");

async function start(program) {
    const process = spawn(program, ["--port", "0"], { stdio: ["ignore", "pipe", "inherit"] });
    const [line] = await once(readline.createInterface({ input: process.stdout }), "line");
    return { process, address: /^kyr-host listens on (.*)\. Try:$/.exec(line)[1] };
}

/** A client whose messages are taken one after the other. */
async function connect(host, options = {}) {
    const socket = new WebSocket(`ws://${host.address}/`, options);
    const messages = on(socket, "message");
    await once(socket, "open");
    return {
        socket,
        ask: (message) => socket.send(JSON.stringify(message)),
        answer: async () => JSON.parse((await messages.next()).value[0].toString()),
    };
}

async function closeCode(socket) {
    const [code] = await once(socket, "close");
    return code;
}

const tests = {
    async "acknowledges and tells the state"(host) {
        const client = await connect(host);
        const event = "/host/interfaces?name=lo&$fields=mtu";
        client.ask({ type: "subscribe", event });
        assert.deepEqual(await client.answer(), { event, status: "ok", type: "subscribe" });
        const state = await client.answer();
        const overHttp = await (await fetch(`http://${host.address}${event}`)).json();
        assert.deepEqual(state.data, overHttp.data);
        assert.equal(state.type, "data");
        client.ask({ type: "unsubscribe", event });
        assert.deepEqual(await client.answer(), { event, status: "ok", type: "unsubscribe" });
        client.socket.terminate();
    },

    async "goes on at the interval"(host) {
        const client = await connect(host);
        client.ask({ type: "subscribe", event: "/host/id", interval: 100 });
        assert.equal((await client.answer()).type, "subscribe");
        for (let i = 0; i < 4; ++i)
            assert.equal((await client.answer()).type, "data");
        client.socket.terminate();
    },

    async "answers pings"(host) {
        const { socket } = await connect(host);
        socket.ping("anybody?");
        const [payload] = await once(socket, "pong");
        assert.equal(payload.toString(), "anybody?");
        socket.terminate();
    },

    async "joins fragments with a ping in between"(host) {
        const client = await connect(host, { perMessageDeflate: false });
        client.socket.send('{"type":"subscribe",', { fin: false });
        client.socket.ping();
        await once(client.socket, "pong");
        client.socket.send('"event":"/id"}', { fin: true });
        assert.equal((await client.answer()).type, "subscribe");
        client.socket.terminate();
    },

    async "takes no extension"(host) {
        const { socket } = await connect(host, { perMessageDeflate: true });
        assert.equal(socket.extensions, "");
        socket.terminate();
    },

    async "closes as asked"(host) {
        const { socket } = await connect(host);
        socket.close(4999, "enough");
        assert.equal(await closeCode(socket), 4999);
    },

    async "closes with a reason"(host) {
        for (const [message, code] of [[Buffer.from("binary"), 1003], ["x".repeat(20000), 1009]]) {
            const { socket } = await connect(host);
            socket.send(message);
            assert.equal(await closeCode(socket), code);
        }
    },

    async "closes what is not masked"(host) {
        const { socket } = await connect(host);
        socket.send("plain", { mask: false });
        assert.equal(await closeCode(socket), 1002);
    },

    async "refuses another version and strangers"(host) {
        const rows = [[{ protocolVersion: 8 }, 426], [{ origin: "http://stranger.example" }, 403]];
        for (const [options, status] of rows) {
            const socket = new WebSocket(`ws://${host.address}/`, options);
            const [, response] = await once(socket, "unexpected-response");
            assert.equal(response.statusCode, status);
            socket.on("error", () => {});
            socket.terminate();
        }
    },

    async "tells that it ends"(host) {
        const clients = await Promise.all(Array.from({ length: 5 }, () => connect(host)));
        for (const client of clients) {
            client.ask({ type: "subscribe", event: "/host/processes", interval: 100 });
            await client.answer();
        }
        const begin = Date.now();
        host.process.kill("SIGTERM");
        const codes = Promise.all(clients.map((client) => closeCode(client.socket)));
        const [exitCode] = await once(host.process, "exit");
        assert.equal(exitCode, 0);
        // Less than a client is given that takes nothing.
        assert.ok(Date.now() - begin < 8000);
        assert.deepEqual(await codes, Array(5).fill(1001));
    },
};

async function main(program) {
    const host = await start(program);
    try {
        for (const [name, test] of Object.entries(tests)) {
            await test(host);
            console.log(`ok: ${name}`);
        }
    } finally {
        host.process.kill("SIGKILL");
    }
}

main(process.argv[2]).then(() => process.exit(0), (failure) => {
    console.error(failure);
    process.exit(1);
});
