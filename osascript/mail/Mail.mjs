// The application Mail over the Maildir `Mail`: its inbox, and drafts that are saved and never sent.

import { dataFolder } from '../files.mjs';
import { ScriptError, noObject, wrongType } from '../language/errors.mjs';
import { contentOf } from './content.mjs';
import { parseDate } from './dates.mjs';
import { save } from './drafts.mjs';
import { Header, headerEnd } from './header.mjs';
import { Maildir, MessageFile, identifiers } from './maildir.mjs';

/** @typedef {import('../language/specifiers.mjs').Kind} Kind */
/** @typedef {import('../language/specifiers.mjs').Property} Property */
/** @typedef {import('./header.mjs').Mailbox} Mailbox */

const usualHeader = 16 * 1024;
const mostOfAHeader = 1024 * 1024;
const mostOfAMessage = 64 * 1024 * 1024;

/** @param {Mailbox} mailbox */
const shown = ({ name, address }) => (name && address ? `${name} <${address}>` : name || address);

class Message {
    /** @param {Inbox} inbox @param {MessageFile} file */
    constructor(inbox, file) {
        this.inbox = inbox;
        this.file = file;
    }

    /** @type {Header | undefined} */
    #header;
    /** @type {number | undefined} */
    #received;

    get id() {
        return this.inbox.identifier(this.file.unique);
    }

    get header() {
        return (this.#header ??= this.#readHeader());
    }

    #readHeader() {
        for (let most = usualHeader; ; most *= 4) {
            const bytes = this.file.beginning(most);
            if (!bytes) throw noObject();
            const end = headerEnd(bytes);
            if (end >= 0 || bytes.length < most || most >= mostOfAHeader)
                return new Header(end < 0 ? bytes : bytes.subarray(0, end));
        }
    }

    /** Milliseconds: an upper bound of `received` that needs no look into the file; NaN where that has gone. */
    get written() {
        return this.file.written;
    }

    /**
     * Milliseconds: when the last server took it in, else when it was sent, else when the file was written. A
     * date in the future is not believed, and none can be later than the file.
     */
    get received() {
        return (this.#received ??= this.#dateReceived());
    }

    #dateReceived() {
        const { written, header } = this;
        const [stamp = ''] = header.all('received');
        const [sent = ''] = header.all('date');
        const dates = [parseDate(stamp.slice(stamp.lastIndexOf(';') + 1)), parseDate(sent)];
        const believed = dates.find((date) => date <= Date.now());
        return believed === undefined ? written : Math.min(believed, written);
    }

    get content() {
        const message = this.file.beginning(mostOfAMessage);
        if (!message) throw noObject();
        return contentOf(message);
    }
}

class Inbox {
    maildir = new Maildir(`${dataFolder()}/Mail`);
    /** @type {Map<string, number> | undefined} */
    #identifiers;

    /** @param {string} unique @returns {number | undefined} */
    identifier(unique) {
        return (this.#identifiers ??= identifiers(
            this.maildir.entries().map((entry) => entry.unique),
        )).get(unique);
    }

    /** @returns {Message[]} all but those that are drafts or thrown away */
    messages() {
        const entries = this.maildir.entries();
        this.#identifiers = undefined;
        return entries
            .filter(({ flags }) => !/[DT]/.test(flags))
            .map((entry) => new Message(this, new MessageFile(this.maildir, entry)));
    }
}

/** @param {Message[]} messages @returns {Message[]} those that are still there, the latest first */
function arranged(messages) {
    /** @type {{message: Message, received: number}[]} */
    const dated = [];
    for (const message of messages) {
        try {
            const { received } = message;
            if (!Number.isNaN(received)) dated.push({ message, received });
        } catch {
            // It has gone since, or is none.
        }
    }
    dated.sort(
        (a, b) =>
            b.received - a.received || (a.message.file.unique < b.message.file.unique ? -1 : 1),
    );
    return dated.map((one) => one.message);
}

/** @param {(message: Message) => unknown} read @returns {Property} */
const ofMessage = (read) => ({ read });

/** @param {number} milliseconds */
const dateOrNull = (milliseconds) => (Number.isNaN(milliseconds) ? null : new Date(milliseconds));

/** @param {string} property @returns {(self: any, value: unknown) => void} */
const text = (property) => (self, value) => {
    if (typeof value !== 'string') throw wrongType();
    self[property] = value;
};

/** @type {Kind} */
const recipient = {
    properties: {
        address: {
            read: (/** @type {Mailbox} */ self) => self.address,
            write: text('address'),
            known: true,
        },
        name: {
            read: (/** @type {Mailbox} */ self) => self.name,
            write: text('name'),
            known: true,
        },
    },
};

/** @param {Message} message @param {string} field */
const mailboxes = (message, field) =>
    message.header
        .mailboxes(field)
        .map(({ name, address }) => (address ? { name, address } : { name: '', address: name }));

/** @type {Kind} */
const message = {
    properties: {
        id: { ...ofMessage((self) => self.id), known: true },
        subject: ofMessage((self) => self.header.decoded('subject')),
        sender: ofMessage((self) => self.header.mailboxes('from').map(shown).join(', ')),
        dateReceived: {
            ...ofMessage((self) => dateOrNull(self.received)),
            atMost: (self) => self.written,
        },
        dateSent: ofMessage((self) => dateOrNull(parseDate(self.header.all('date')[0] ?? ''))),
        readStatus: { ...ofMessage((self) => self.file.flags.includes('S')), known: true },
        messageId: ofMessage((self) => self.header.decoded('message-id').replace(/^<|>$/g, '')),
        content: ofMessage((self) => self.content),
    },
    elements: {
        toRecipients: {
            kind: recipient,
            all: (/** @type {Message} */ self) => mailboxes(self, 'to'),
        },
        ccRecipients: {
            kind: recipient,
            all: (/** @type {Message} */ self) => mailboxes(self, 'cc'),
        },
    },
};

/** @type {Kind} */
const mailbox = {
    properties: { name: { read: () => 'INBOX', known: true } },
    elements: {
        messages: { kind: message, all: (/** @type {Inbox} */ self) => self.messages(), arranged },
    },
};

class Outgoing {
    subject = '';
    content = '';
    visible = false;
    saved = false;
    /** @type {Mailbox[]} */
    to = [];
    /** @type {Mailbox[]} */
    cc = [];
}

/** @type {Kind} */
const outgoing = {
    properties: {
        subject: { read: (self) => self.subject, write: text('subject') },
        content: { read: (self) => self.content, write: text('content') },
        visible: {
            read: (self) => self.visible,
            write: (self, value) => {
                self.visible = Boolean(value); // there is no window to show
            },
        },
    },
    elements: {
        toRecipients: {
            kind: recipient,
            all: (self) => self.to,
            push: (self, one) => self.to.push(one),
        },
        ccRecipients: {
            kind: recipient,
            all: (self) => self.cc,
            push: (self, one) => self.cc.push(one),
        },
    },
    commands: {
        save: (/** @type {Outgoing} */ self) => {
            if (self.saved) throw new ScriptError('This message has already been saved.');
            save(`${dataFolder()}/Mail`, self);
            self.saved = true;
        },
    },
};

/** @returns {Kind} an application that knows no outgoing messages yet */
export function Mail() {
    const inbox = new Inbox();
    /** @type {Outgoing[]} */
    const written = [];
    const newRecipient = { kind: recipient, make: () => ({ name: '', address: '' }) };
    return {
        properties: {
            name: { read: () => 'Mail', known: true },
            inbox: { read: () => inbox, kind: mailbox, known: true },
        },
        elements: {
            outgoingMessages: {
                kind: outgoing,
                all: () => written,
                push: (_, one) => written.push(one),
            },
        },
        constructors: {
            OutgoingMessage: { kind: outgoing, make: () => new Outgoing() },
            ToRecipient: newRecipient,
            CcRecipient: newRecipient,
        },
    };
}
