// Makes tokens with two libraries that services use, and writes them into a file with what each of them says. Claims
// come from a fixed seed, keys are fresh.
import { writeFileSync } from 'node:fs';
import { generateKeyPairSync } from 'node:crypto';
import { CompactSign, SignJWT, UnsecuredJWT } from 'jose';
import jsonwebtoken from 'jsonwebtoken';

const SETS = 100;
const NOW = 1_700_000_000; // the test's clock

// --- Random claims -------------------------------------------------------------------------------------------------

let state = 20;
const random = (below) => {
  state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
  return Math.floor((state / 2 ** 32) * below);
};
const among = (list) => list[random(list.length)];

const CHARACTERS = [
  ...'abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 .,:;-_{}[]()<>&%$#@!?*+=~^|\'/',
  '"', '\\', '\b', '\f', '\n', '\r', '\t', '\u0000', '\u001b', '\u007f', '\u0085', '\u2028', 'ä', 'ß', 'Ж', 'λ', 'ע', 'あ', '漢', '\uffff',
  '😀', '𝄞', '\ud800', // the last one is half of a character
];
const text = (length) => Array.from({ length }, () => among(CHARACTERS)).join('');
// Never three characters, so that no value reads like the name of a registered claim.
const value = () => text(random(40) === 0 ? 3000 : among([0, 1, 2, 4, 10, 40, 200]));
const number = () => among([0, -1, 1.5, 1e300, -2.5e-7, 4711, 2 ** 53, random(2 ** 31)]);

// Nothing is dense: the payload has at least three characters for each of its tokens.
const anything = (depth) => {
  switch (random(depth > 0 ? 6 : 4)) {
    case 0: return among([true, false, null]);
    case 1: return number();
    case 2: return value();
    case 3: return text(20);
    case 4: return Array.from({ length: random(5) }, () => anything(depth - 1));
    default: return Object.fromEntries(Array.from({ length: random(5) }, (_, i) => [`name ${i} ${text(5)}`, anything(depth - 1)]));
  }
};
const nested = (depth) => (depth === 0 ? value() : random(2) ? [nested(depth - 1), 'element'] : { member: nested(depth - 1) });

const shuffled = (entries) => {
  for (let i = entries.length - 1; i > 0; --i) {
    const j = random(i + 1);
    [entries[i], entries[j]] = [entries[j], entries[i]];
  }
  return entries;
};

const claimSet = () => {
  const claims = { iat: NOW - random(1000), padding: text(20) };
  if (random(2)) claims.sub = value();
  if (random(2)) claims.iss = value();
  if (random(2)) claims.jti = value();
  if (random(2)) claims.aud = random(2) ? value() : [value(), value()];
  if (random(2)) claims.exp = NOW + 1 + random(100000);
  if (random(2)) claims.nbf = NOW - 1 - random(100000);
  if (random(2)) claims['name-id'] = value();
  if (random(2)) claims['more ' + text(8)] = anything(3);
  if (random(4) === 0) claims.nested = nested(1 + random(40));
  return Object.fromEntries(shuffled(Object.entries(claims)));
};

// How the claims are spelled in the payload: a text without its quotation marks.
const spelled = (claims) => {
  const all = {};
  for (const name of ['sub', 'iss', 'jti', 'aud', 'iat', 'name-id']) {
    if (name in claims) {
      const json = JSON.stringify(claims[name]);
      all[name] = json.startsWith('"') ? json.slice(1, -1) : json;
    }
  }
  return all;
};

// --- Makers --------------------------------------------------------------------------------------------------------

const secret = Buffer.from(Array.from({ length: 64 }, () => random(256)));
const rsa = generateKeyPairSync('rsa', { modulusLength: 2048 });
const otherRsa = generateKeyPairSync('rsa', { modulusLength: 2048 });
const ec = generateKeyPairSync('ec', { namedCurve: 'P-256' });
const keyFor = (alg) => (alg.startsWith('HS') ? secret : rsa.privateKey);

const makers = {
  jose: (claims, alg) => new SignJWT(claims).setProtectedHeader(random(2) ? { alg, typ: 'JWT' } : { alg }).sign(keyFor(alg)),
  jsonwebtoken: (claims, alg) => jsonwebtoken.sign(claims, keyFor(alg), { algorithm: alg }),
};

const accepted = [];
for (const maker of Object.keys(makers)) {
  for (const alg of ['HS256', 'HS384', 'HS512', 'RS256', 'RS384', 'RS512']) {
    for (let set = 0; set < SETS; ++set) {
      const claims = claimSet();
      const token = await makers[maker](claims, alg);
      accepted.push({ maker, alg, token, payload: JSON.stringify(claims), claims: spelled(claims) });
    }
  }
}

// --- What must be refused ------------------------------------------------------------------------------------------

const bytes = (payload) => new TextEncoder().encode(payload);
const raw = (payload, header = { alg: 'HS256' }, key = secret) => new CompactSign(bytes(payload)).setProtectedHeader(header).sign(key);
const full = { sub: 'bob', iss: 'portal', aud: 'erp', jti: '4711', exp: NOW + 60, nbf: NOW - 60, iat: NOW, 'name-id': 'b@example.com' };

const doubled = [];
for (const name of Object.keys(full)) {
  const once = JSON.stringify(full);
  const twice = `${once.slice(0, -1)},${JSON.stringify(name)}:${JSON.stringify(full[name])}}`;
  doubled.push({ name, token: await raw(twice) });
  const nestedTwice = `${once.slice(0, -1)},"deeper":{"here":[{${JSON.stringify(name)}:${JSON.stringify(full[name])}}]}}`;
  doubled.push({ name, token: await raw(nestedTwice) });
}
const missing = [];
for (const name of Object.keys(full)) {
  const { [name]: dropped, ...rest } = full;
  missing.push({ name, token: jsonwebtoken.sign(rest, secret, { noTimestamp: true }) });
}
const times = [
  { code: 4, token: jsonwebtoken.sign({ exp: NOW }, secret) },
  { code: 4, token: await new SignJWT({ exp: NOW - 1 }).setProtectedHeader({ alg: 'RS256' }).sign(rsa.privateKey) },
  { code: 14, token: jsonwebtoken.sign({ nbf: NOW }, secret) },
  { code: 14, token: await new SignJWT({ nbf: NOW + 1 }).setProtectedHeader({ alg: 'HS512' }).sign(secret) },
];
const jwk = rsa.publicKey.export({ format: 'jwk' });
const headers = [
  { code: 21, token: await raw('{}', { typ: 'JWT', alg: 'HS256' }) },
  { code: 5, token: await raw('{}', { alg: 'HS256', typ: 'JWT', kid: '1' }) },
  { code: 5, token: await raw('{}', { alg: 'RS256', jwk }, rsa.privateKey) },
  { code: 21, token: new UnsecuredJWT(full).encode() },
  { code: 21, token: jsonwebtoken.sign(full, '', { algorithm: 'none' }) },
  { code: 21, token: await raw('{}', { alg: 'PS256' }, rsa.privateKey) },
  { code: 21, token: await raw('{}', { alg: 'ES256' }, ec.privateKey) },
  { code: 20, token: await raw('{}', { alg: 'RS256', kid: '1' }, otherRsa.privateKey) },
  { code: 20, token: await raw('{}', { alg: 'RS256', jku: 'https://localhost/keys' }, otherRsa.privateKey) },
];

writeFileSync(process.argv[2], JSON.stringify({
  now: NOW,
  secret: secret.toString('base64'),
  publicKey: rsa.publicKey.export({ format: 'pem', type: 'spki' }),
  pkcs1: rsa.publicKey.export({ format: 'pem', type: 'pkcs1' }),
  otherPublicKey: otherRsa.publicKey.export({ format: 'pem', type: 'spki' }),
  full: jsonwebtoken.sign(full, secret),
  accepted, doubled, missing, times, headers,
}));
