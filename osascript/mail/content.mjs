// The readable text of a message, waited for.

import { MessageChannel, Worker, receiveMessageOnPort } from 'node:worker_threads';
import { ScriptError } from '../language/errors.mjs';
import { decodeUnlabelled } from './charsets.mjs';
import { headerEnd } from './header.mjs';

const patience = 20000; // milliseconds; a script has 60 seconds in all
const mostMemory = 1024; // MiB

/** @param {Buffer} message @returns {string} what stands behind its header, as it is */
const asItStands = (message) => decodeUnlabelled(message.subarray(Math.max(0, headerEnd(message))));

/**
 * @param {Buffer} message
 * @returns {string} its text parts, or its HTML ones as text; of one that no reader understands what it holds
 */
export function contentOf(message) {
    const { port1: port, port2: theirs } = new MessageChannel();
    const answered = new Int32Array(new SharedArrayBuffer(4));
    const worker = new Worker(new URL('reader.mjs', import.meta.url), {
        workerData: { port: theirs, answered },
        transferList: [theirs],
        resourceLimits: { maxOldGenerationSizeMb: mostMemory },
    });
    worker.on('error', () => undefined);
    worker.unref();
    const bytes = new Uint8Array(message).buffer;
    port.postMessage(bytes, [bytes]);
    Atomics.wait(answered, 0, 0, patience);
    const reply = receiveMessageOnPort(port)?.message;
    void worker.terminate();
    if (reply?.missing) throw new ScriptError(reply.missing);
    return reply?.text ?? asItStands(message);
}
